#pragma once

#include <QObject>

namespace downloaderror {
Q_NAMESPACE

// Error codes of a transfer that are not QNetworkReply::NetworkError values.
enum DownloadError : qint32 {
    FileError = 1000,
    FileOpenError = 1001,
    FileResizeError = 1002,
    FileWriteError = 1003,
    FilePositionError = 1004,
    FilePermissionsError = 1005,
    NoContentLength = 1006,
    TooManyShortTransfers = 1007,
    NoCookies = 1009,
    HtmlInsteadOfVideo = 1010,
    NoContentType = 1011,
    ConversionNotStarted = 1012,
    RedirectRefused = 1015, // to a place that must not be asked, or in a circle
};
Q_ENUM_NS(DownloadError)

} // namespace downloaderror

using namespace downloaderror;

// True for a code after which the job does not try again.
constexpr bool isFatalDownloadError(qint32 code)
{
    return (code >= 201 && code <= 204) || (code >= FileError && code <= TooManyShortTransfers) ||
           (code >= HtmlInsteadOfVideo && code <= ConversionNotStarted) || code == RedirectRefused;
}
