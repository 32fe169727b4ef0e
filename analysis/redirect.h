#pragma once

#include <QString>
#include <QUrl>

class QNetworkReply;
struct SiteAccess;

// What becomes of an answer that may be a redirect.
struct Redirect
{
    bool follow = false;
    QUrl to;         // where to, when it is followed
    QString refusal; // why it must not be followed, and is no answer either; as a rule empty

    // limit: how many of a row are followed; followed: how many were before this one. Thread of the
    // reply, which has its head.
    static Redirect of(const QNetworkReply &reply, const SiteAccess &access, int limit,
                       int followed);
};
