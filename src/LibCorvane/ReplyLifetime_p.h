#ifndef LIBCORVANE_REPLYLIFETIME_P_H
#define LIBCORVANE_REPLYLIFETIME_P_H

#include <QNetworkReply>
#include <QObject>
#include <QPointer>

namespace corvane {

/// Keeps a reply alive while the host's code runs inside one of the reply's signals.
///
/// The host may delete the reply's owner there, and the owner its replies; but a reply must not be
/// deleted while it emits. So the reply has no owner for that long. If the owner goes meanwhile,
/// the reply says no more: Qt's own listeners would miss the access manager. An event loop of the
/// host's may bring a second signal within the first; the outer shelter then decides.
///
/// In the end a reply that has finished, or has lost its owner, is deleted later.
class ReplyShelter {
public:
    explicit ReplyShelter(QNetworkReply *reply)
        : m_reply(reply)
        , m_owner(reply->parent())
        , m_isOuter(m_owner)
    {
        if (!m_isOuter)
            return;
        const auto silence = [reply] { QObject::disconnect(reply, nullptr, nullptr, nullptr); };
        m_ownersEnd = QObject::connect(m_owner, &QObject::destroyed, reply, silence);
        reply->setParent(nullptr);
    }
    ~ReplyShelter()
    {
        if (!m_isOuter)
            return;
        QObject::disconnect(m_ownersEnd);
        m_reply->setParent(m_owner);
        if (!m_owner || m_reply->isFinished())
            m_reply->deleteLater();
    }
    ReplyShelter(const ReplyShelter &) = delete;
    ReplyShelter &operator=(const ReplyShelter &) = delete;

private:
    QNetworkReply *m_reply;
    QPointer<QObject> m_owner;
    bool m_isOuter;
    QMetaObject::Connection m_ownersEnd;
};

/// Deletes an object later, but not before a reply that reported an error has finished as well. The
/// two signals come from two events as a rule, and deleteLater() alone could slip in between.
inline void deleteOnceFinished(QObject *object, const QNetworkReply *reply)
{
    if (reply->isFinished())
        object->deleteLater();
    else
        QObject::connect(reply, &QNetworkReply::finished, object, &QObject::deleteLater);
}

} // namespace corvane

#endif
