// From a page to the list of streams.

var video = null; // what the page says of its video, read by the companion scripts

// The first content of the meta tags with a name, whichever attribute names them.
function meta(page, name) {
    for (var i = 0; i < page.meta.length; i += 1) {
        if (page.meta[i].name === name && page.meta[i].content)
            return page.meta[i].content;
    }
    return "";
}

// The page as the readers take it: markup, scripts, meta tags, and the address that the others on
// it start from, at last the site's own.
function readPage(text, home) {
    var page = splitPage(text);
    var tags = findTags(page.markup, "meta|link|base");
    var canonical = "";
    var base = "";
    page.meta = [];
    for (var i = 0; i < tags.length; i += 1) {
        var attributes = tags[i].attributes;
        var names = [attributes.property, attributes.name];
        if (tags[i].name === "base")
            base = base || attributes.href;
        else if (tags[i].name === "link" &&
                 hasWord(plain(attributes.rel).toLowerCase(), "canonical"))
            canonical = canonical || attributes.href;
        for (var j = 0; tags[i].name === "meta" && j < names.length; j += 1) {
            if (names[j])
                page.meta.push({
                    name: names[j].toLowerCase(),
                    content: plain(attributes.content)
                });
        }
    }
    var address = resolve(canonical, home) || resolve(meta(page, "og:url"), home) || home;
    page.base = resolve(base, address) || address;
    return page;
}

// What stands in the page's title element.
function pageTitle(page) {
    var tags = findTags(page.markup, "title");
    return tags.length > 0 ? line(textOf(page.markup, tags[0])) : "";
}

// Asks readers one after the other until one knows the page's form. A reader gives null when it
// does not, else { title, keywords, description, seconds, streams, error }, all but the streams
// texts; the error tells why there are no streams.
function streamList(readers, home) {
    var page = readPage(String(strWebBuffer), home);
    for (var i = 0; i < readers.length && !video; i += 1)
        video = readers[i](page);
    if (!video || video.streams.length === 0)
        return "$Error:" + field(line(video && video.error || "no player"));
    var records = [];
    for (i = 0; i < video.streams.length; i += 1)
        records.push(recordOf(video.streams[i], video.seconds));
    return records.join("||");
}
