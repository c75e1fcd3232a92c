#include <LibCorvane/audioCapturers/AudioFFT.h>
#include <LibCorvane/audioCapturers/OouraTransform_p.h>

#include <cmath>

namespace audiofft {

detail::AudioFFTImpl::~AudioFFTImpl() = default;

OouraFFT::OouraFFT() = default;

OouraFFT::~OouraFFT() = default;

void OouraFFT::init(std::size_t newSize)
{
    if (newSize == size)
        return;
    ip.resize(2 + std::size_t(std::sqrt(double(newSize))));
    w.resize(newSize / 2);
    buffer.resize(newSize);
    size = newSize;
    const auto tableLength = int(size / 4);
    detail::makewt(tableLength, ip.data(), w.data());
    detail::makect(tableLength, ip.data(), w.data() + tableLength);
}

void OouraFFT::fft(const float *data, float *re, float *im)
{
    detail::rdft({size, buffer.data(), ip.data(), w.data()}, data, detail::Bins{re, im});
}

void OouraFFT::ifft(float *data, const float *re, const float *im)
{
    detail::rdft({size, buffer.data(), ip.data(), w.data()}, detail::ConstBins{re, im}, data);
}

AudioFFT::AudioFFT()
    : m_impl(std::make_unique<OouraFFT>())
{
}

AudioFFT::~AudioFFT() = default;

void AudioFFT::init(std::size_t size)
{
    m_impl->init(size);
}

void AudioFFT::fft(const float *data, float *re, float *im)
{
    m_impl->fft(data, re, im);
}

void AudioFFT::ifft(float *data, const float *re, const float *im)
{
    m_impl->ifft(data, re, im);
}

std::size_t AudioFFT::ComplexSize(std::size_t size)
{
    return size / 2 + 1;
}

} // namespace audiofft
