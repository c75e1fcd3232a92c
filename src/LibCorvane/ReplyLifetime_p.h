#ifndef LIBCORVANE_REPLYLIFETIME_P_H
#define LIBCORVANE_REPLYLIFETIME_P_H

#include <QNetworkReply>
#include <QObject>
#include <QPointer>

namespace corvane {

/// Keeps a reply alive while the host's code runs inside one of the reply's signals.
///
/// The host may delete the reply's owner there, and the owner its replies; but a reply must not be
/// deleted while it emits. So the reply has no owner for that long. If the owner is gone in the
/// end, the reply goes as soon as the event loop is back.
class ReplyShelter {
public:
    explicit ReplyShelter(QNetworkReply *reply)
        : m_reply(reply)
        , m_owner(reply->parent())
    {
        reply->setParent(nullptr);
    }
    ~ReplyShelter()
    {
        if (m_owner)
            m_reply->setParent(m_owner);
        else
            m_reply->deleteLater();
    }
    ReplyShelter(const ReplyShelter &) = delete;
    ReplyShelter &operator=(const ReplyShelter &) = delete;

private:
    QNetworkReply *m_reply;
    QPointer<QObject> m_owner;
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
