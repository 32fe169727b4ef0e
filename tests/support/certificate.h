#pragma once

#include <QString>

// What servers of tests on 127.0.0.1 show over TLS. Made with the openssl program in a folder of
// the test's own, which is created; a machine on which that fails ends the test program. Paths of
// PEM files.
class TestCertificates final
{
public:
    explicit TestCertificates(const QString &folder);

    QString authority() const { return pem("authority"); } // signed all but the last
    QString key() const { return pem("key"); }             // of all that follow
    QString good() const { return pem("good"); }           // 127.0.0.1 and localhost
    QString expired() const { return pem("expired"); }
    QString otherName() const { return pem("other-name"); }
    QString selfSigned() const { return pem("self-signed"); } // 127.0.0.1, no authority

private:
    QString pem(const char *name) const;

    const QString m_folder;
};
