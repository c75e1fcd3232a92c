#ifndef CORVANE_TESTS_FUZZ_FUZZING_H
#define CORVANE_TESTS_FUZZ_FUZZING_H

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <cstring>

/// What libFuzzer calls once, and then with one input after the other. A target defines the second
/// and ends the process where something does not hold.
extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace corvane::fuzz {

/// The bytes of one input, read from the front. What lies beyond the end is zero, or empty.
class Input {
public:
    Input(const uint8_t *data, size_t size)
        : m_bytes(QByteArray::fromRawData(reinterpret_cast<const char *>(data), int(size)))
    {
    }

    bool isAtEnd() const { return m_at >= m_bytes.size(); }

    template <typename Number>
    Number number()
    {
        const QByteArray taken = until(m_at + int(sizeof(Number)), 0);
        Number value{};
        std::memcpy(&value, taken.constData(), size_t(taken.size()));
        return value;
    }

    /// Up to the next end of a line, which is left out.
    QByteArray line() { return upTo("\n"); }
    /// Up to the separator, which is left out; all that is left when there is none.
    QByteArray upTo(const QByteArray &separator)
    {
        const int end = m_bytes.indexOf(separator, m_at);
        return end < 0 ? rest() : until(end, separator.size());
    }
    QByteArray rest() { return until(m_bytes.size(), 0); }

private:
    QByteArray until(int end, int skipped)
    {
        const QByteArray taken = m_bytes.mid(m_at, end - m_at);
        m_at = qMin(end + skipped, m_bytes.size());
        return taken;
    }

    const QByteArray m_bytes;
    int m_at = 0;
};

/// A text out of UTF-8. What is no UTF-8 stands for a surrogate without its other half, so that
/// inputs reach these too.
QString textOf(const QByteArray &utf8);

/// How many lines the library has logged so far. They are printed nowhere.
int loggedLines();

/// Ends the process when something does not hold, after a word on it.
void require(bool holds, const char *what);

} // namespace corvane::fuzz

#endif
