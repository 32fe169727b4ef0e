#include "troublewords.h"

#include "downloaderror.h"
#include "jobtrouble.h"

#include <QCoreApplication>
#include <QNetworkReply>

#include <algorithm>

namespace {

struct Entry
{
    qint32 code;
    const char *words;
};

// Every code that a job can end or wait with.
constexpr Entry table[] = {
    // The network.
    {QNetworkReply::ConnectionRefusedError,
     QT_TRANSLATE_NOOP("TroubleWords", "The server refuses the connection")},
    {QNetworkReply::RemoteHostClosedError,
     QT_TRANSLATE_NOOP("TroubleWords", "The server broke the connection")},
    {QNetworkReply::HostNotFoundError,
     QT_TRANSLATE_NOOP("TroubleWords", "No connection, or there is no such server")},
    {QNetworkReply::TimeoutError,
     QT_TRANSLATE_NOOP("TroubleWords", "The server does not answer any more")},
    {QNetworkReply::OperationCanceledError,
     QT_TRANSLATE_NOOP("TroubleWords", "The download was interrupted")},
    {QNetworkReply::SslHandshakeFailedError,
     QT_TRANSLATE_NOOP("TroubleWords", "No secure connection to the server can be made")},
    {QNetworkReply::TemporaryNetworkFailureError,
     QT_TRANSLATE_NOOP("TroubleWords", "No connection")},
    {QNetworkReply::NetworkSessionFailedError, QT_TRANSLATE_NOOP("TroubleWords", "No connection")},
    {QNetworkReply::BackgroundRequestNotAllowedError,
     QT_TRANSLATE_NOOP("TroubleWords", "The system allows no connection in the background")},
    {QNetworkReply::TooManyRedirectsError,
     QT_TRANSLATE_NOOP("TroubleWords", "The server leads round in circles")},
    {QNetworkReply::InsecureRedirectError,
     QT_TRANSLATE_NOOP("TroubleWords", "The server sends the download on to where it must not go")},
    {QNetworkReply::UnknownNetworkError, QT_TRANSLATE_NOOP("TroubleWords", "No connection")},
    {QNetworkReply::ProxyConnectionRefusedError,
     QT_TRANSLATE_NOOP("TroubleWords", "The proxy refuses the connection")},
    {QNetworkReply::ProxyConnectionClosedError,
     QT_TRANSLATE_NOOP("TroubleWords", "The proxy broke the connection")},
    {QNetworkReply::ProxyNotFoundError,
     QT_TRANSLATE_NOOP("TroubleWords", "The proxy of the settings is not found")},
    {QNetworkReply::ProxyTimeoutError,
     QT_TRANSLATE_NOOP("TroubleWords", "The proxy does not answer any more")},
    {QNetworkReply::ProxyAuthenticationRequiredError,
     QT_TRANSLATE_NOOP("TroubleWords", "The proxy asks for a password")},
    {QNetworkReply::UnknownProxyError,
     QT_TRANSLATE_NOOP("TroubleWords", "The proxy cannot be used")},
    // The server.
    {QNetworkReply::ContentAccessDenied,
     QT_TRANSLATE_NOOP("TroubleWords", "The server does not give the video to everybody")},
    {QNetworkReply::ContentOperationNotPermittedError,
     QT_TRANSLATE_NOOP("TroubleWords", "The server does not let the video be downloaded")},
    {QNetworkReply::ContentNotFoundError,
     QT_TRANSLATE_NOOP("TroubleWords", "The server says that it has no such video")},
    {QNetworkReply::AuthenticationRequiredError,
     QT_TRANSLATE_NOOP("TroubleWords", "The server asks for a password")},
    {QNetworkReply::ContentReSendError,
     QT_TRANSLATE_NOOP("TroubleWords", "The server wants to be asked again")},
    {QNetworkReply::ContentConflictError,
     QT_TRANSLATE_NOOP("TroubleWords", "The server says that the video is being changed")},
    {QNetworkReply::ContentGoneError,
     QT_TRANSLATE_NOOP("TroubleWords", "The server says that the video is gone")},
    {QNetworkReply::UnknownContentError,
     QT_TRANSLATE_NOOP("TroubleWords", "The server does not send the video now")},
    {QNetworkReply::ProtocolUnknownError,
     QT_TRANSLATE_NOOP("TroubleWords", "The video's address cannot be read")},
    {QNetworkReply::ProtocolInvalidOperationError,
     QT_TRANSLATE_NOOP("TroubleWords", "The server does not understand what it is asked")},
    {QNetworkReply::ProtocolFailure,
     QT_TRANSLATE_NOOP("TroubleWords", "The server's answer cannot be understood")},
    {QNetworkReply::InternalServerError,
     QT_TRANSLATE_NOOP("TroubleWords", "The server has a fault")},
    {QNetworkReply::OperationNotImplementedError,
     QT_TRANSLATE_NOOP("TroubleWords", "The server cannot do what it is asked")},
    {QNetworkReply::ServiceUnavailableError,
     QT_TRANSLATE_NOOP("TroubleWords", "The server has too much to do")},
    {QNetworkReply::UnknownServerError,
     QT_TRANSLATE_NOOP("TroubleWords", "The server has a fault")},
    // What it sends.
    {NoContentLength,
     QT_TRANSLATE_NOOP("TroubleWords", "The server does not say how long the video is")},
    {TooManyShortTransfers, QT_TRANSLATE_NOOP("TroubleWords", "The video always ends too early")},
    {NoCookies, QT_TRANSLATE_NOOP("TroubleWords", "The video's page does not answer as it should")},
    {HtmlInsteadOfVideo,
     QT_TRANSLATE_NOOP("TroubleWords", "The server sends a page in place of the video")},
    {NoContentType,
     QT_TRANSLATE_NOOP("TroubleWords", "The server does not say what kind of video it sends")},
    {RedirectRefused,
     QT_TRANSLATE_NOOP("TroubleWords", "The server sends the download on to where it must not go")},
    {JobTrouble::EndedShort, QT_TRANSLATE_NOOP("TroubleWords", "The video ended too early")},
    // Files.
    {FileError, QT_TRANSLATE_NOOP("TroubleWords", "The file cannot be used")},
    {FileOpenError,
     QT_TRANSLATE_NOOP("TroubleWords", "The file cannot be opened in the output folder")},
    {FileResizeError, QT_TRANSLATE_NOOP("TroubleWords", "The file cannot be shortened")},
    {FileWriteError, QT_TRANSLATE_NOOP("TroubleWords", "The file cannot be written")},
    {FilePositionError, QT_TRANSLATE_NOOP("TroubleWords", "The file cannot be continued")},
    {FilePermissionsError,
     QT_TRANSLATE_NOOP("TroubleWords", "The output folder does not let files be written")},
    {JobTrouble::DiskFull, QT_TRANSLATE_NOOP("TroubleWords", "The disk is full")},
    {JobTrouble::OutputGone, QT_TRANSLATE_NOOP("TroubleWords", "The finished file was taken away")},
    // The conversion.
    {ConversionNotStarted,
     QT_TRANSLATE_NOOP("TroubleWords",
                       "The conversion cannot begin: its format or its file is missing")},
    {JobTrouble::AdapterMissing,
     QT_TRANSLATE_NOOP(
         "TroubleWords",
         "The program's encoder cannot be started; please install the program again")},
    {JobTrouble::FFmpegMissing,
     QT_TRANSLATE_NOOP("TroubleWords", "FFmpeg cannot be started; please install it")},
    {JobTrouble::FFmpegCrashed,
     QT_TRANSLATE_NOOP("TroubleWords", "FFmpeg crashed or was ended by somebody")},
    {JobTrouble::EncoderMissing,
     QT_TRANSLATE_NOOP("TroubleWords", "This FFmpeg cannot make the format, it lacks an encoder")},
    {JobTrouble::SoundRefused, QT_TRANSLATE_NOOP("TroubleWords", "FFmpeg refused the sound")},
    {JobTrouble::PictureRefused, QT_TRANSLATE_NOOP("TroubleWords", "FFmpeg refused the picture")},
    {JobTrouble::PictureMissing,
     QT_TRANSLATE_NOOP("TroubleWords", "The video has no picture, and the format needs one")},
    {JobTrouble::SourceUnreadable,
     QT_TRANSLATE_NOOP("TroubleWords", "FFmpeg cannot read what was downloaded")},
    {JobTrouble::OutputNotWritten,
     QT_TRANSLATE_NOOP("TroubleWords", "FFmpeg could not write the video")},
    {JobTrouble::OutputUnusable,
     QT_TRANSLATE_NOOP("TroubleWords", "What FFmpeg made cannot be used")},
    {JobTrouble::ConversionFailed,
     QT_TRANSLATE_NOOP("TroubleWords", "FFmpeg could not convert the video")},
};

} // namespace

const char *wordsOfCode(int code)
{
    const auto *entry = std::find_if(std::begin(table), std::end(table),
                                     [code](const Entry &entry) { return entry.code == code; });
    return entry == std::end(table) ? nullptr : entry->words;
}

QString troubleWords(const JobTrouble &trouble)
{
    const char *known = wordsOfCode(trouble.code);
    const QString words =
        known ? QCoreApplication::translate("TroubleWords", known)
              : QCoreApplication::translate("TroubleWords", "Something went wrong (%1)")
                    .arg(trouble.code);
    if (trouble.detail.isEmpty())
        return words;
    return QCoreApplication::translate("TroubleWords", "%1: %2").arg(words, trouble.detail);
}
