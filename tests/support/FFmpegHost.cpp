// A host in which FFmpeg has something to say: "loud" without the device listing, "quiet" with it,
// "ending" also when the listing's lists are gone.
#include <LibCorvane/AVAVFoundationFactory.h>

#include <string_view>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/log.h>
}

namespace {

bool talksAtTheEnd = false;

/// Made before and ended after all other objects of this program, the listing's among them.
struct LastWords {
    ~LastWords()
    {
        if (!talksAtTheEnd)
            return;
        av_log(nullptr, AV_LOG_INFO, "[%d] Capture screen %d\n", 1, 0);
        av_log(nullptr, AV_LOG_INFO, "AVFoundation audio devices:\n");
        av_log(nullptr, AV_LOG_INFO, "[%d] %s\n", 0, "Microphone");
        av_log(nullptr, AV_LOG_ERROR, "the last words\n");
    }
};
__attribute__((init_priority(101))) const LastWords lastWords;

void talk()
{
    av_log(nullptr, AV_LOG_FATAL, "a message of %d words\n", 5);
    AVFormatContext *input = nullptr;
    avformat_open_input(&input, "concat:no such file", nullptr, nullptr);
}

} // namespace

int main(int, char **argv)
{
    const std::string_view mode = argv[1];
    if (mode == "loud") {
        talk();
        return 0;
    }
    AVAVFoundationFactory factory;
    talk();
    if (mode == "ending") {
        talksAtTheEnd = true;
        av_log(nullptr, AV_LOG_INFO, "AVFoundation video devices:\n");
        av_log(nullptr, AV_LOG_INFO, "[%d] Capture screen %d\n", 1, 0);
        return factory.videoDevices().size() == 1 ? 0 : 1;
    }
    return 0;
}
