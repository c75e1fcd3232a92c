#ifndef CORVANE_PREVIEW_DEVICECHOICE_H
#define CORVANE_PREVIEW_DEVICECHOICE_H

#include <QComboBox>

/// The list of devices, with an arrow in the preview's colours.
class DeviceChoice : public QComboBox {
    Q_OBJECT
public:
    using QComboBox::QComboBox;

protected:
    void paintEvent(QPaintEvent *event) override;
};

#endif
