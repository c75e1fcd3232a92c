#ifndef CORVANE_TESTS_CAPTURERECORDS_H
#define CORVANE_TESTS_CAPTURERECORDS_H

namespace corvane::test {

/// The capture records of this program, all of them: capturers leave theirs to run. The function of
/// this unit that makes them stands before the library's own and passes on to it.
class CaptureRecords {
public:
    CaptureRecords() = default;
    /// Ends every capture, so that a test leaves nothing running. No capturer may be left.
    ~CaptureRecords();
    CaptureRecords(const CaptureRecords &) = delete;
    CaptureRecords &operator=(const CaptureRecords &) = delete;

    /// How many there are.
    static int count();
};

} // namespace corvane::test

#endif
