#include "DeskCaptureOption.h"

#include <QDebug>

DeskCaptureOption::DeskCaptureOption(QObject *parent)
    : QObject(parent)
{
}

DeskCaptureOption::~DeskCaptureOption() = default;

int DeskCaptureOption::totalOfMode() const
{
    return m_totalOfMode;
}

void DeskCaptureOption::setTotalOfMode(int newTotalOfMode)
{
    if (newTotalOfMode == m_totalOfMode)
        return;
    m_totalOfMode = newTotalOfMode;
    emit totalOfModeChanged();
}

int DeskCaptureOption::curMode() const
{
    return m_curMode;
}

void DeskCaptureOption::setCurMode(int newCurMode)
{
    if (newCurMode == m_curMode)
        return;
    if (newCurMode < 0 || newCurMode >= m_totalOfMode) {
        const qint64 highest = qint64(m_totalOfMode) - 1; // the total may be any int
        qInfo() << "[DeskCaptureOption]: The newCurMode: " << newCurMode << " is out of range[0, "
                << highest << "]";
        return;
    }
    m_curMode = newCurMode;
    // Hosts' log readers look for this spelling.
    qInfo() << "[DeskCaptureOption]: The current desk catpure mode already changed to " << m_curMode
            << "mode.";
    emit curModeChanged();
}
