#include "networkaccess.h"

#include "logfile.h"

#include <QCoreApplication>
#include <QHostAddress>
#include <QNetworkProxyFactory>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QStringList>

namespace {
// The factory of the system alone would send the bundled site's requests to a company's proxy.
class Proxies final : public QNetworkProxyFactory
{
public:
    QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery &query) override
    {
        const QString host = query.peerHostName();
        if (host == QLatin1String("localhost") || QHostAddress(host).isLoopback())
            return {QNetworkProxy(QNetworkProxy::NoProxy)};
        return systemProxyForQuery(query);
    }
};

QString inWords(const QSslError &error)
{
    switch (error.error()) {
    case QSslError::CertificateExpired:
        return QCoreApplication::translate("NetworkAccess", "expired");
    case QSslError::CertificateNotYetValid:
        return QCoreApplication::translate("NetworkAccess", "not valid yet");
    case QSslError::HostNameMismatch:
        return QCoreApplication::translate("NetworkAccess", "for another host");
    case QSslError::SelfSignedCertificate:
    case QSslError::SelfSignedCertificateInChain:
    case QSslError::UnableToGetIssuerCertificate:
    case QSslError::UnableToGetLocalIssuerCertificate:
    case QSslError::UnableToVerifyFirstCertificate:
    case QSslError::CertificateUntrusted:
        return QCoreApplication::translate("NetworkAccess", "unknown issuer");
    default:
        return error.errorString();
    }
}
} // namespace

NetworkAccess::NetworkAccess(QObject *parent)
    : QNetworkAccessManager(parent)
{
    setProxyFactory(new Proxies); // which is the manager's from now on
}

void trustCertificatesOf(const QString &pemFile)
{
    const QList<QSslCertificate> certificates = QSslCertificate::fromPath(pemFile);
    if (certificates.isEmpty()) {
        LogFile::instance()->write(QStringLiteral("Failed:"),
                                   QStringLiteral("No certificates in \"%1\".").arg(pemFile));
        return;
    }
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    // With any of its own, the toolkit does not look at the system's any more.
    configuration.setCaCertificates(QSslConfiguration::systemCaCertificates() + certificates);
    QSslConfiguration::setDefaultConfiguration(configuration);
}

QString untrusted(const QList<QSslError> &errors)
{
    QStringList words;
    for (const QSslError &error : errors)
        words.append(inWords(error));
    words.removeDuplicates();
    return QCoreApplication::translate("NetworkAccess", "untrusted certificate (%1)")
        .arg(words.join(QStringLiteral(", ")));
}
