// A program that does nothing but tell of its memory: what it costs is what loading its libraries
// costs. Takes a file for the figures, and a library if one is to be loaded on top, by dlopen().
#include <dlfcn.h>

#include <chrono>
#include <cstdio>
#include <cstring>

namespace {

/// In KiB: all pages in memory, and those of them that this process has written.
void addMemory(std::FILE *figures)
{
    std::FILE *rollup = std::fopen("/proc/self/smaps_rollup", "r");
    char line[256];
    long size = 0;
    while (rollup && std::fgets(line, sizeof line, rollup)) {
        if (std::sscanf(line, "Rss: %ld", &size) == 1)
            std::fprintf(figures, "resident %ld\n", size);
        if (std::sscanf(line, "Private_Dirty: %ld", &size) == 1)
            std::fprintf(figures, "written %ld\n", size);
    }
    if (rollup)
        std::fclose(rollup);
}

bool load(const char *library, int when, std::FILE *figures)
{
    const auto begin = std::chrono::steady_clock::now();
    const bool isLoaded = dlopen(library, when) != nullptr;
    const std::chrono::duration<double, std::micro> time = std::chrono::steady_clock::now() - begin;
    std::fprintf(figures, "microseconds %.1f\n", time.count());
    return isLoaded;
}

} // namespace

int main(int count, char **arguments)
{
    if (count < 2)
        return 2;
    std::FILE *figures = std::fopen(arguments[1], "w");
    if (!figures)
        return 1;
    addMemory(figures);
    if (count == 4) {
        const int when = std::strcmp(arguments[3], "eagerly") == 0 ? RTLD_NOW : RTLD_LAZY;
        if (!load(arguments[2], when, figures))
            return 1;
        addMemory(figures);
    }
    return std::fclose(figures) == 0 ? 0 : 1;
}
