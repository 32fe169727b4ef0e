#include "redirect.h"

#include "siteaccess.h"
#include "trace.h"

#include <QNetworkReply>

Redirect Redirect::of(const QNetworkReply &reply, const SiteAccess &access, int limit, int followed)
{
    Redirect redirect;
    const QVariant target = reply.attribute(QNetworkRequest::RedirectionTargetAttribute);
    if (!target.isValid() || limit == 0)
        return redirect;
    const QUrl from = reply.request().url();
    redirect.to = from.resolved(target.toUrl());
    redirect.refusal = access.redirectRefusal(from, redirect.to, followed);
    redirect.follow = redirect.refusal.isEmpty() && followed < limit;
    TRACE() << "Redirecting from " << from.toString() << " to " << redirect.to.toString()
            << redirect.refusal;
    return redirect;
}
