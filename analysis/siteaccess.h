#pragma once

#include <QByteArray>
#include <QString>

class QUrl;
struct SecureHosts;

// True for http and https. What a site or a manifest says must not reach the files of this
// computer.
bool isWeb(const QUrl &url);

// How a site wants its pages and streams to be asked for. Everybody who fetches for a page is
// handed the same one, made by siteAccess(). Plain data and functions that only look at what they
// are given; any thread.
struct SiteAccess
{
    QString page;          // the page's address as it is shown; without user name and password
    QString address;       // where the page is fetched, and what a job keeps
    QString cookieAddress; // what is asked for the cookies of a transfer
    bool (*looksRight)(const QString &page); // user-interface thread

    QByteArray pageUserAgent;
    QByteArray userAgent; // for everything else; empty: none of its own

    bool cookiesDemanded; // no transfer without any
    // A cookie is sent only where it was set for. Otherwise those of the page go to the stream,
    // wherever that is.
    bool cookiesByHost;

    int pageRedirects;   // that many are followed,
    int cookieRedirects; // and the next one is an answer like any other,
    int streamRedirects; // unless this says why it is none (empty: it may be followed):
    QString (*redirectRefusal)(const QUrl &from, const QUrl &to, int followed);
    bool redirectsAddUp; // in all attempts to get a page; otherwise each begins at none

    // The address of a stream from what a record of a site script says; empty: no stream.
    QString (*streamAddress)(const QString &text);
    QString (*keptAddress)(const QString &streamAddress); // as a job keeps it and asks for it

    // Whatever a stream's answer says that is a page is none, also with a charset.
    bool pagesRefused;
    bool tellsReasons; // the person is told why a page was not obtained

    // What the bundled site's pages, and those of the supported host, are asked for with.
    static SiteAccess plain(const QString &page);
    // For pages of today: over TLS only, at the address as it is.
    static SiteAccess secure(const QString &page);
};

// By the page's address: secure for the https addresses of those hosts, plain for all others.
SiteAccess siteAccess(const QString &page, const SecureHosts &hosts);
