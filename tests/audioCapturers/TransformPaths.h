#ifndef CORVANE_TESTS_TRANSFORMPATHS_H
#define CORVANE_TESTS_TRANSFORMPATHS_H

#include <LibCorvane/audioCapturers/AudioFFT.h>
#include <LibCorvane/audioCapturers/OouraTransform_p.h>

#include <cmath>
#include <vector>

namespace corvane::test {

/// A transform that always takes one code path of the library, whatever else the machine offers.
class PathTransform final : public audiofft::detail::AudioFFTImpl {
public:
    explicit PathTransform(const audiofft::detail::Path &path)
        : m_path(path)
    {
    }

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
        m_path.forward(workspace(), data, {re, im});
    }

    void ifft(float *data, const float *re, const float *im) override
    {
        m_path.backward(workspace(), {re, im}, data);
    }

private:
    audiofft::detail::Workspace workspace()
    {
        return {m_a.size(), m_a.data(), m_ip.data(), m_w.data()};
    }

    const audiofft::detail::Path &m_path;
    std::vector<int> m_ip;
    std::vector<double> m_w;
    std::vector<double> m_a;
};

/// The code paths that this machine can take, the fastest first.
inline std::vector<const audiofft::detail::Path *> availablePaths()
{
    std::vector<const audiofft::detail::Path *> available;
    for (const auto *path = audiofft::detail::paths(); *path; ++path)
        available.push_back(*path);
    return available;
}

} // namespace corvane::test

#endif
