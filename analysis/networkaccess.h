#pragma once

#include <QList>
#include <QNetworkAccessManager>
#include <QSslError>
#include <QString>

// The way to the network that all fetches and transfers take: by the system's proxies, but not to
// this computer's own services. Belongs to the thread that created it. What the system says about
// proxies stands in the environment here (http_proxy, https_proxy, no_proxy); to ask takes no time.
class NetworkAccess final : public QNetworkAccessManager
{
public:
    explicit NetworkAccess(QObject *parent = nullptr);
};

// Trusts the certificates of a PEM file beside the system's, in everything that is asked for later.
// A file that has none is told in the log. Before the first request.
void trustCertificatesOf(const QString &pemFile);

// Why a server's certificate is not trusted, in a few words for a person: "untrusted certificate
// (expired)".
QString untrusted(const QList<QSslError> &errors);
