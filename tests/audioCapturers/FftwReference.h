#ifndef CORVANE_TESTS_FFTWREFERENCE_H
#define CORVANE_TESTS_FFTWREFERENCE_H

#include "TransformErrors.h"

#include <fftw3.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace corvane::test {

struct ExactBins {
    std::vector<double> re;
    std::vector<double> im;
    double norm = 0.0;
};

inline ExactBins fftwForward(const Floats &samples)
{
    const std::size_t size = samples.size();
    std::vector<double> in(size);
    std::vector<fftw_complex> out(size / 2 + 1);
    const fftw_plan plan = fftw_plan_dft_r2c_1d(int(size), in.data(), out.data(), FFTW_ESTIMATE);
    std::copy(samples.begin(), samples.end(), in.begin());
    fftw_execute(plan);
    fftw_destroy_plan(plan);
    ExactBins spectrum;
    for (const auto &bin : out) {
        spectrum.re.push_back(bin[0]);
        spectrum.im.push_back(bin[1]);
    }
    spectrum.norm = std::sqrt(double(size)) * normOf(samples);
    return spectrum;
}

inline std::vector<double> fftwBackward(const Bins &spectrum)
{
    const std::size_t size = 2 * (spectrum.re.size() - 1);
    std::vector<fftw_complex> in(size / 2 + 1);
    std::vector<double> out(size);
    const fftw_plan plan = fftw_plan_dft_c2r_1d(int(size), in.data(), out.data(), FFTW_ESTIMATE);
    for (std::size_t k = 0; k < in.size(); ++k) {
        in[k][0] = double(spectrum.re[k]);
        in[k][1] = double(spectrum.im[k]);
    }
    fftw_execute(plan);
    fftw_destroy_plan(plan);
    for (double &sample : out)
        sample /= double(size);
    return out;
}

} // namespace corvane::test

#endif
