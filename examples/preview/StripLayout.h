#ifndef CORVANE_PREVIEW_STRIPLAYOUT_H
#define CORVANE_PREVIEW_STRIPLAYOUT_H

#include <QJsonObject>
#include <QPoint>
#include <QSize>
#include <QVector>

/// Where each LED of a strip sits, as the library's layout file tells it.
struct StripLayout {
    enum class Side { Left, Top, Right, Bottom };

    struct Key {
        /// Of the grid, from the top left; the two keys at a corner share one.
        QPoint cell;
        Side side = Side::Left;
        /// The share of the spectrum that lights this key, between 0 (the lowest tone) and 1.
        /// Empty, from 0 to 0, for a key in no segment.
        double toneFrom = 0.0;
        double toneTo = 0.0;
    };

    /// Columns and rows.
    QSize grid;
    QVector<Key> keys;
};

/// Reads a layout; what is missing or wrong in it leaves keys out.
///
/// The tones of a segment rise from its root: from "start" in direction 1, from "stop" in direction
/// 0. So both sides rise from the desk upwards, and the two runs of a split side mirror each other
/// from its middle outwards. A run that is cut short shows the low tones only.
StripLayout stripLayout(const QJsonObject &file);

/// Lets the library write the layout file of a controller, and reads it back. Without keys when the
/// file cannot be written.
StripLayout generateStrip(const QString &name, int height, int width, int bottom);

#endif
