#ifndef CORVANE_PREVIEW_SCENEWINDOW_H
#define CORVANE_PREVIEW_SCENEWINDOW_H

#include <QElapsedTimer>
#include <QImage>
#include <QWidget>

/// How much of the scene changes from one picture to the next.
enum class Motion {
    None,
    /// The bar in each picture, the fields of colour a few times a second.
    Usual,
    /// Every pixel in each picture.
    Full,
};

/// The test scene over the whole desktop, in front of everything and past any window manager.
class SceneWindow : public QWidget {
    Q_OBJECT
public:
    explicit SceneWindow(Motion motion);

signals:
    /// The scene stands on the screen for the first time.
    void painted();

protected:
    void paintEvent(QPaintEvent *event) override;
    void timerEvent(QTimerEvent *event) override;

private:
    double seconds() const;
    void moveFields();
    void moveBar();

    const Motion m_motion;
    QElapsedTimer m_clock;
    QImage m_fields;
    QRect m_bar;
    int m_pictures = 0;
    bool m_painted = false;
};

#endif
