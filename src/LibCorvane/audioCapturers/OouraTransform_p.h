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

/// Fills w for M = 2·nw complex points: the sines of 2π·r/M for r < M/4, and from w[M/4] on, for
/// each block of four-point DFTs in bit-reversed order, e^(2πi·r/M) and its square. ip[0] becomes
/// nw; from ip[2] on follow the reversals of all numbers of half the bits that M/4 has, rounded up.
void makewt(int nw, int *ip, double *w) noexcept;

/// Fills c with half the cosines of 2π·k/N for k < nc, where N = 4·nc; ip[1] becomes nc.
void makect(int nc, int *ip, double *c) noexcept;

/// Forward: N samples to N/2 + 1 bins, unnormalised. All samples are read before a bin is written.
void rdft(const Workspace &work, const float *samples, Bins bins) noexcept;
/// Backward: N/2 + 1 bins to N samples, divided by N. All bins are read before a sample is written.
void rdft(const Workspace &work, ConstBins bins, float *samples) noexcept;

/// One way to compute it. They all give the same bins and samples but for the last bit.
struct Path {
    const char *name;
    std::size_t smallestLength;
    void (*forward)(const Workspace &work, const float *samples, Bins bins) noexcept;
    void (*backward)(const Workspace &work, ConstBins bins, float *samples) noexcept;
};

/// The paths that this machine can take, the fastest first; the last takes any length, then comes
/// null.
const Path *const *paths() noexcept;

extern const Path kPlainPath;
extern const Path kSse2Path;
extern const Path kAvx2Path;

} // namespace audiofft::detail

#endif
