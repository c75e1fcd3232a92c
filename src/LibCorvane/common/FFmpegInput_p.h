#ifndef LIBCORVANE_FFMPEGINPUT_P_H
#define LIBCORVANE_FFMPEGINPUT_P_H

#include "FFmpegHandles_p.h"
#include "FFmpegLayout_p.h"

#include <QString>

/// The steps from the name of an "avfoundation" device to its decoder. They report to their caller
/// and log nothing.
namespace corvane {

/// One stream of an opened device. Decoder, frame, input and options end in this order.
struct MediaInput {
    DictionaryHandle options; // in: those of the device; then those that it did not know
    InputHandle input;
    int streamIndex = -1;
    FrameHandle frame;
    DecoderHandle decoder;
};

/// FFmpeg's "avfoundation" input; null in an FFmpeg that has none.
InputFormat *avfoundationFormat();

/// Opens the device of that name with the context's format and the options of \a media.
/// \return 0 or more, or FFmpeg's code. Without a format nothing is opened: FFmpeg would take the
/// name for that of a file.
int openInput(MediaInput &media, UnopenedInputHandle context, const QString &name);

/// Whether the input has a stream of that type, which is noted then.
bool findStream(MediaInput &media, AVMediaType type);

/// The decoder of the stream found; null when there is none.
const AVCodec *findDecoder(const MediaInput &media);

/// Makes a decoder for the stream found, not open yet. \return 0 or more, or FFmpeg's code.
int makeDecoder(MediaInput &media, const AVCodec *codec);

/// The next packet of the stream; null when none could be read, and for one of another stream.
PacketHandle readPacket(const MediaInput &media);

/// Has FFmpeg print the devices through its log.
void printDevices();

} // namespace corvane

#endif
