#ifndef LIBCORVANE_OOURATRANSFORM_P_H
#define LIBCORVANE_OOURATRANSFORM_P_H

#include <cstddef>

/// The real DFT behind audiofft::OouraFFT. N real samples are read as M = N/2 complex points,
/// transformed by radix-4 passes over bit-reversed points, and untangled into N/2 + 1 bins.
///
/// The work array holds the real parts of the M points first and the imaginary parts after them, so
/// that every pass walks through contiguous doubles.
namespace audiofft::detail {

/// Where a transform of n samples works: n doubles to write to, and the tables.
struct Workspace {
    std::size_t n;
    double *a;
    const int *ip;
    const double *w;
};

struct Bins {
    float *re;
    float *im;
};

struct ConstBins {
    const float *re;
    const float *im;
};

/// Fills w with the cosines, then the sines, of 2π·r/M for r < M/4, where M = 2·nw; ip[0] becomes
/// nw, and from ip[2] on follows the reversal of every number of (log2(M/4) + 1)/2 bits.
void makewt(int nw, int *ip, double *w) noexcept;

/// Fills c with half the cosines of 2π·k/N for k < nc, where N = 4·nc; ip[1] becomes nc.
void makect(int nc, int *ip, double *c) noexcept;

/// Forward: N samples to N/2 + 1 bins, unnormalised. All samples are read before a bin is written.
void rdft(const Workspace &work, const float *samples, Bins bins) noexcept;
/// Backward: N/2 + 1 bins to N samples, divided by N. All bins are read before a sample is written.
void rdft(const Workspace &work, ConstBins bins, float *samples) noexcept;

/// The same for any machine.
namespace plain {
void rdft(const Workspace &work, const float *samples, Bins bins) noexcept;
void rdft(const Workspace &work, ConstBins bins, float *samples) noexcept;
} // namespace plain

/// The same, faster, for machines with AVX2 and FMA, and for N = 32, 64, 128…
namespace avx2 {
constexpr std::size_t kSmallestLength = 32;
/// Whether this machine can run it; never true where it is not built.
bool isSupported() noexcept;
void rdft(const Workspace &work, const float *samples, Bins bins) noexcept;
void rdft(const Workspace &work, ConstBins bins, float *samples) noexcept;
} // namespace avx2

} // namespace audiofft::detail

#endif
