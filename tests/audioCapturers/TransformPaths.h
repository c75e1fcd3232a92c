#ifndef CORVANE_TESTS_TRANSFORMPATHS_H
#define CORVANE_TESTS_TRANSFORMPATHS_H

#include <LibCorvane/audioCapturers/AudioFFT.h>
#include <LibCorvane/audioCapturers/OouraTransform_p.h>

#include <cmath>
#include <vector>

namespace corvane::test {

/// A transform that always takes one code path of the library, whatever the machine offers.
template <class Path>
class PathTransform final : public audiofft::detail::AudioFFTImpl {
public:
    void init(std::size_t size) override
    {
        m_ip.resize(2 + std::size_t(std::sqrt(double(size))));
        m_w.resize(size / 2);
        m_a.resize(size);
        audiofft::detail::makewt(int(size / 4), m_ip.data(), m_w.data());
        audiofft::detail::makect(int(size / 4), m_ip.data(), m_w.data() + size / 4);
    }

    void fft(const float *data, float *re, float *im) override
    {
        Path::rdft(workspace(), data, audiofft::detail::Bins{re, im});
    }

    void ifft(float *data, const float *re, const float *im) override
    {
        Path::rdft(workspace(), audiofft::detail::ConstBins{re, im}, data);
    }

private:
    audiofft::detail::Workspace workspace()
    {
        return {m_a.size(), m_a.data(), m_ip.data(), m_w.data()};
    }

    std::vector<int> m_ip;
    std::vector<double> m_w;
    std::vector<double> m_a;
};

struct PlainPath {
    template <class From, class To>
    static void rdft(const audiofft::detail::Workspace &work, From from, To to)
    {
        audiofft::detail::plain::rdft(work, from, to);
    }
};

struct Avx2Path {
    template <class From, class To>
    static void rdft(const audiofft::detail::Workspace &work, From from, To to)
    {
        audiofft::detail::avx2::rdft(work, from, to);
    }
};

} // namespace corvane::test

#endif
