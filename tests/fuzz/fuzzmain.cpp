#include "fuzz.h"
#include "options.h"
#include "sandbox.h"

#include <QCoreApplication>
#include <QDir>

#include <sys/mman.h>
#include <unistd.h>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    static Sandbox folders;
    static const QCoreApplication application(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *bytes, std::size_t length)
{
    fuzz(QByteArray(reinterpret_cast<const char *>(bytes), int(length)));
    return 0;
}

Options &options()
{
    static Options defaults;
    return defaults;
}

QString asFile(const QByteArray &content)
{
    static const int file = memfd_create("input", 0);
    holds(ftruncate(file, 0) == 0 &&
          pwrite(file, content.constData(), std::size_t(content.size()), 0) == content.size());
    return "/proc/self/fd/%1"_q.arg(file);
}

bool staysInFolder(const QString &name)
{
    const QString folder = "/folder/"_q;
    return QDir::cleanPath((folder + name).section(QChar(0), 0, 0)).startsWith(folder);
}
