#include "ServiceBar.h"

#include "ElidedLabel.h"

#include <QHBoxLayout>
#include <QProgressBar>
#include <QPushButton>

namespace {

constexpr int kGap = 16;
// A progress bar counts in int; installers may be larger than that many bytes.
constexpr int kSteps = 1000;

} // namespace

ServiceBar::ServiceBar(QWidget *parent)
    : QWidget(parent)
    , m_text(new ElidedLabel(this))
    , m_progress(new QProgressBar(this))
    , m_offer(new QPushButton(this))
{
    auto *close = new QPushButton(QStringLiteral("Close"), this);
    m_offer->setObjectName(QStringLiteral("offer"));
    m_progress->setTextVisible(false);
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(kGap);
    row->addWidget(m_text);
    row->addWidget(m_progress, 1);
    row->addStretch();
    row->addWidget(m_offer);
    row->addWidget(close);
    connect(m_offer, &QPushButton::clicked, this, &ServiceBar::taken);
    connect(close, &QPushButton::clicked, this, &QWidget::hide);
    hide();
}

void ServiceBar::say(const QString &text)
{
    m_text->setText(text);
    m_progress->hide();
    m_offer->hide();
    show();
}

void ServiceBar::offer(const QString &text, const QString &button)
{
    say(text);
    m_offer->setText(button);
    m_offer->show();
}

void ServiceBar::showProgress(const QString &text, qint64 done, qint64 total)
{
    say(text);
    m_progress->setRange(0, total > 0 ? kSteps : 0);
    m_progress->setValue(total > 0 ? static_cast<int>(kSteps * done / total) : 0);
    m_progress->show();
}
