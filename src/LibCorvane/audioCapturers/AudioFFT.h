#ifndef LIBCORVANE_AUDIOFFT_H
#define LIBCORVANE_AUDIOFFT_H

#include <LibCorvane/Export.h>

#include <cstddef>
#include <memory>
#include <vector>

/// The discrete Fourier transform of real sound samples.
namespace audiofft {

/// What AudioFFT is made of; hosts need nothing of it.
namespace detail {

/// What AudioFFT asks of a transform. AudioFFT states the contract: lengths, scaling, packing,
/// memory and threads are the same here.
class LIBCORVANE_EXPORT AudioFFTImpl {
public:
    /// Makes a transform without a length.
    AudioFFTImpl() = default;
    AudioFFTImpl(const AudioFFTImpl &) = delete;
    AudioFFTImpl &operator=(const AudioFFTImpl &) = delete;
    /// Releases the tables.
    virtual ~AudioFFTImpl();

    /// Sets the length.
    /// \param size N, the number of samples of a block.
    virtual void init(std::size_t size) = 0;

    /// Forward transform.
    /// \param data the N samples.
    /// \param re receives the real parts of the N/2 + 1 bins.
    /// \param im receives the imaginary parts of the N/2 + 1 bins.
    virtual void fft(const float *data, float *re, float *im) = 0;

    /// Inverse transform.
    /// \param data receives the N samples.
    /// \param re the real parts of the N/2 + 1 bins.
    /// \param im the imaginary parts of the N/2 + 1 bins.
    virtual void ifft(float *data, const float *re, const float *im) = 0;
};

} // namespace detail

/// The transform in double precision. Hosts use it through AudioFFT, which states the contract.
class LIBCORVANE_EXPORT OouraFFT final : public detail::AudioFFTImpl {
public:
    /// Makes a transform without a length; init() gives it one.
    OouraFFT();
    /// Releases the tables.
    ~OouraFFT() override;

    void init(std::size_t size) override;
    void fft(const float *data, float *re, float *im) override;
    void ifft(float *data, const float *re, const float *im) override;

private:
    std::size_t size = 0;
    std::vector<int> ip;
    std::vector<double> w;
    std::vector<double> buffer;
};

/// Transforms blocks of N real samples into N/2 + 1 complex bins and back.
///
/// \code
/// audiofft::AudioFFT transform;
/// transform.init(2048);
/// std::vector<float> re(audiofft::AudioFFT::ComplexSize(2048)), im(re.size());
/// transform.fft(samples, re.data(), im.data());
/// \endcode
///
/// \par Length
/// N is a power of two, at least 4 (and at most 2^30). It is given to init(), which must come
/// before fft() and ifft(). Nothing is checked: another length, or none, is undefined behaviour.
///
/// \par Definition, scaling and packing
/// Bin k of N samples x is re[k] + j·im[k] = Σ x[n] · e^(−2πj·k·n/N), for k = 0 … N/2. There is no
/// factor in the forward direction: a constant input of value a gives re[0] = N · a, a cosine of
/// amplitude 1 at bin k gives re[k] = N/2, a sine im[k] = −N/2. The inverse divides by N, so that
/// ifft(fft(x)) is x. Bin 0 (the constant part) and bin N/2 (the Nyquist frequency) of real samples
/// are real: fft() writes 0 to im[0] and im[N/2], ifft() does not read them. The bins above N/2 are
/// the conjugates of those below and are not stored.
///
/// \par Precision
/// Everything in between is computed in double precision: a result is the exact transform of the
/// given floats, off by its final rounding to float and by less than 1e-13 of the Euclidean norm of
/// the whole result. The last bit may differ from one kind of processor to another.
///
/// \par Memory
/// The arrays are the caller's. They need no alignment; `data` holds N floats, `re` and `im` hold
/// ComplexSize(N) each. The input is read whole before the first result is written, so `data` may
/// share memory with `re` or `im`; `re` and `im` must not overlap each other. Only init() allocates
/// (about 16 · N bytes, released by the destructor); it may throw std::bad_alloc, nothing else here
/// throws, and nothing is logged.
///
/// \par Threads
/// One thread at a time may use an object, since its work array is shared by all calls. It may be
/// made, used and destroyed on different threads; different objects share nothing.
class LIBCORVANE_EXPORT AudioFFT {
public:
    /// Makes a transform without a length.
    AudioFFT();
    AudioFFT(const AudioFFT &) = delete;
    AudioFFT &operator=(const AudioFFT &) = delete;
    /// Releases the tables.
    ~AudioFFT();

    /// Sets the length and builds its tables; costs nothing when the length is the present one.
    /// \param size N, the number of samples of a block: a power of two, at least 4.
    void init(std::size_t size);

    /// Forward transform.
    /// \param data the N samples.
    /// \param re receives the real parts of the ComplexSize(N) bins.
    /// \param im receives the imaginary parts of the ComplexSize(N) bins.
    void fft(const float *data, float *re, float *im);

    /// Inverse transform.
    /// \param data receives the N samples.
    /// \param re the real parts of the ComplexSize(N) bins.
    /// \param im the imaginary parts of the ComplexSize(N) bins; the first and the last are
    /// ignored.
    void ifft(float *data, const float *re, const float *im);

    /// The number of bins that a block has.
    /// \param size N, the number of samples of the block.
    /// \return size / 2 + 1, so 1025 for 2048 samples.
    static std::size_t ComplexSize(std::size_t size);

private:
    std::unique_ptr<detail::AudioFFTImpl> m_impl;
};

} // namespace audiofft

#endif
