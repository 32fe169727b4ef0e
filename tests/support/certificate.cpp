#include "certificate.h"

#include "literals.h"

#include <QDir>
#include <QProcess>

namespace {
const char commands[] = R"(
curve='ec_paramgen_curve:P-256'
openssl req -x509 -newkey ec -pkeyopt $curve -nodes -keyout authority-key.pem \
    -subj /CN=Authority -days 2 -out authority.pem
openssl genpkey -algorithm EC -pkeyopt $curve -out key.pem
make() { # NAME DAYS ALTERNATIVE-NAMES SIGNING
    openssl req -new -key key.pem -subj /CN=Test -addext subjectAltName=$3 |
        openssl x509 -req -copy_extensions copyall -days $2 -out $1.pem $4
}
here=IP:127.0.0.1,DNS:localhost
sign='-CA authority.pem -CAkey authority-key.pem'
make good 2 $here "$sign"
make expired -1 $here "$sign"
make other-name 2 DNS:other.example "$sign"
make self-signed 2 $here '-signkey key.pem'
)";
} // namespace

TestCertificates::TestCertificates(const QString &folder)
    : m_folder(folder)
{
    QDir().mkpath(folder);
    QProcess shell;
    shell.setWorkingDirectory(folder);
    shell.start("sh"_q, {"-euc"_q, QLatin1String(commands)});
    if (!shell.waitForFinished() || shell.exitCode() != 0)
        qFatal("no certificates: %s", shell.readAllStandardError().constData());
}

QString TestCertificates::pem(const char *name) const
{
    return QDir(m_folder).filePath(QLatin1String(name) + ".pem"_q);
}
