// The callback for FFmpeg's log, with recognised and other formats, against a model of the lists.
// Lines: "v" and "a", the headers; "s" with two numbers, a screen; "d" with a number and a name, a
// device; "x" with a format, "h" with a format that ends in a line end; "n", no format.

#include "Fuzzing.h"

#include <LibCorvane/AVAVFoundationFactory.h>

#include <algorithm>
#include <cstdarg>

using namespace corvane::fuzz;

namespace {

const char kVideo[] = "AVFoundation video devices:\n";
const char kAudio[] = "AVFoundation audio devices:\n";
const char kScreen[] = "[%d] Capture screen %d\n";
const char kDevice[] = "[%d] %s\n";

/// What FFmpeg does with a message.
void print(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    avlogCallback(nullptr, 0, format, arguments);
    va_end(arguments);
}

struct Message {
    QByteArray format;
    int index = 0;
    int screen = 0;
    QByteArray name;
};

enum class Section { None, Video, Audio };

/// The lists as they ought to be.
class Model {
public:
    void take(const Message &message);
    void check() const;

private:
    Section m_section = Section::None;
    QList<DeviceInfo> m_screens;
    QList<DeviceInfo> m_sounds;
};

void Model::take(const Message &message)
{
    const QByteArray &format = message.format;
    if (format == kVideo) {
        m_section = Section::Video;
        m_screens.clear();
    } else if (format == kAudio) {
        m_section = Section::Audio;
        m_sounds.clear();
    } else if (format == kScreen && m_section == Section::Video) {
        m_screens.append({"Capture screen " + QString::number(message.screen), message.index});
    } else if (format == kDevice && m_section == Section::Audio) {
        m_sounds.append({QString::fromLatin1(message.name.constData()), message.index});
    } else if (format != kDevice || m_section != Section::Video) {
        m_section = Section::None;
    }
}

void Model::check() const
{
    const auto isSame = [](const DeviceInfo &a, const DeviceInfo &b) {
        return a.name == b.name && a.index == b.index;
    };
    const auto areSame = [&](const QList<DeviceInfo> &a, const QList<DeviceInfo> &b) {
        return std::equal(a.begin(), a.end(), b.begin(), b.end(), isSame);
    };
    const AVAVFoundationFactory factory;
    require(areSame(factory.videoDevices(), m_screens), "the screens are listed");
    require(areSame(factory.audioDevices(), m_sounds), "the sound inputs are listed");
}

/// A format's arguments are those that FFmpeg gives with it; what is not recognised gets two
/// numbers, whatever it asks for.
void print(const Message &message)
{
    if (message.format == kDevice)
        print(message.format.constData(), message.index, message.name.constData());
    else
        print(message.format.constData(), message.index, message.screen);
}

/// A format as a C string: it ends at a NUL.
QByteArray cString(const QByteArray &bytes)
{
    return bytes.constData();
}

Message messageOf(const QByteArray &line)
{
    Input input(reinterpret_cast<const uint8_t *>(line.constData()), size_t(line.size()));
    Message message;
    switch (input.number<char>()) {
    case 'v':
        message.format = kVideo;
        break;
    case 'a':
        message.format = kAudio;
        break;
    case 's':
        message.format = kScreen;
        message.index = input.upTo(" ").toInt();
        message.screen = input.rest().toInt();
        break;
    case 'd':
        message.format = kDevice;
        message.index = input.upTo(" ").toInt();
        message.name = input.rest();
        break;
    case 'x':
        message.format = cString(input.rest());
        break;
    case 'h':
        message.format = cString(input.rest() + '\n');
        break;
    default:
        break; // no format
    }
    return message;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Model model;
    Input input(data, size);
    // The lists of the run before go.
    for (const char *header : {kVideo, kAudio, "none"}) {
        print(header);
        model.take({header, 0, 0, {}});
    }
    while (!input.isAtEnd()) {
        const Message message = messageOf(input.line());
        if (message.format.isNull())
            print(static_cast<const char *>(nullptr));
        else
            print(message);
        model.take(message);
    }
    model.check();
    return 0;
}
