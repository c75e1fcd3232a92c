#include "QtScreenCapture.h"

QtScreenCapture::QtScreenCapture(QObject *parent)
    : IDeskCapture(parent)
{
}

QtScreenCapture::~QtScreenCapture() = default;

QSize QtScreenCapture::outputSize()
{
    return {};
}

QSize QtScreenCapture::originSize()
{
    return {};
}

void QtScreenCapture::setOutputSize(QSize)
{
}
