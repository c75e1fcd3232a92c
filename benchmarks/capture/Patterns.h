#ifndef CORVANE_BENCHMARKS_PATTERNS_H
#define CORVANE_BENCHMARKS_PATTERNS_H

#include <QImage>
#include <QSize>

#include <vector>

namespace corvane::bench {

/// Fine content for a screen, the same in every run.
struct Pattern {
    const char *name;
    QImage (*make)(QSize size);
};

const std::vector<Pattern> &patterns();

/// A picture in three channels of full precision, row after row.
struct ExactPicture {
    QSize size;
    std::vector<double> samples;
};

/// Every pixel is the mean of the part of the picture that it stands for; pixels that lie across
/// a border count with their share.
ExactPicture areaAverage(const QImage &picture, QSize size);

/// The root of the mean square difference over all pixels and channels; infinite where the sizes
/// differ.
double rootMeanSquare(const QImage &picture, const ExactPicture &exact);

} // namespace corvane::bench

#endif
