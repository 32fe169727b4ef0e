#pragma once

#include "demovideos.h"

// The pages of the bundled site, complete HTML in UTF-8. Base is "http://HOST:PORT", or https.
// The index has the watch pages and, by their addresses, what other pages there are.
QByteArray indexPage(const QString &base, const QStringList &pages);
// A watch page; without a video its player object says that it is not playable. Content lengths
// are read off the files in the media folder.
QByteArray watchPage(const DemoVideo *video, const QString &base, const QString &mediaFolder);
