#pragma once

#include <QString>
#include <QStringList>

// The hosts whose pages are asked for over TLS, at the address that the browser shows.
struct SecureHosts
{
    // Names separated by commas. Taken leniently: blanks and empty entries are dropped, upper case
    // is lowered, and of an entry that is an address the host is taken.
    static SecureHosts fromText(const QString &text);

    // True for an address that begins with https:// and whose host is one of the names, or one of
    // them with "www." in front; whatever its port. Any thread.
    bool cover(const QString &address) const;

    QStringList names = {};
    QStringList odd = {}; // the entries that were more, or other, than a name
};
