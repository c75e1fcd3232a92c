// The web service that the soak asks, until its input ends: in a process of its own, as it keeps
// all requests.
#include <support/HttpServer.h>
#include <support/ServiceFixture.h>

#include <cstdio>

using namespace corvane::test;

int main()
{
    HttpServer server;
    server.answer("/update_check.php",
                  {ok(versionReply("99.0", server.url("/setup.exe"), sha256(noise())))});
    server.answer("/setup.exe", {installer(1)});
    server.answer("/app/logupload.php", {ok("{\"code\":0}")});
    server.answer("/activate.php", {ok("{}")});
    std::printf("%s\n", qPrintable(server.host()));
    std::fflush(stdout);
    while (std::getchar() != EOF)
        ;
    return 0;
}
