#pragma once

#include <QString>

// The fixed strings of the product that places on disk and messages are named after, for who needs
// nothing else of AppInfo.
namespace product {

inline QString title()
{
    return QStringLiteral("Corvane Reelkeeper");
}
inline QString name()
{
    return QStringLiteral("Reelkeeper");
}
inline QString version()
{
    return QStringLiteral("1.0");
}
inline QString helpUrl()
{
    return QStringLiteral("https://www.quarnitek.example/reelkeeper/help");
}
inline QString maker()
{
    return QStringLiteral("Quarnitek");
}

} // namespace product
