#include "IAudioCapture.h"

IAudioCapture::IAudioCapture(QObject *parent)
    : QObject(parent)
{
}
