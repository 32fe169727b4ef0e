// Items whose player has its list in an attribute.

// The lists of the page's player, as values of JSON.
function archiveLists(page) {
    var tags = findTags(page.markup, "input|play-av");
    var lists = [];
    for (var i = 0; i < tags.length; i += 1) {
        var attributes = tags[i].attributes;
        if (tags[i].name === "play-av")
            lists.push(parseJson(plain(attributes.playlist)));
        else if (hasWord(attributes["class"], "js-play8-playlist"))
            lists.push(parseJson(plain(attributes.value)));
    }
    return lists;
}

// The streams of one part of an item. Sound has no height.
function addArchivePart(found, page, part) {
    var sources = isObject(part) ? listOf(part.sources) : [];
    for (var i = 0; i < sources.length; i += 1) {
        if (isObject(sources[i]) && pixels(sources[i].height))
            addStream(found, page, plain(sources[i].file), plain(sources[i].type), sources[i]);
    }
    found.seconds = isObject(part) ? wholeSeconds(part.duration) : "";
}

var archiveSuffix = / : Free Download, Borrow, and Streaming : Internet Archive$/;

// The title, keywords and description as the item's own elements have them.
function addArchiveDetails(found, page) {
    addDetails(found, page, {});
    found.title = found.title.replace(archiveSuffix, "");
    var title = findElements(page.markup, "class", "item-title")[0];
    if (title && line(textOf(page.markup, title)))
        found.title = line(textOf(page.markup, title));
    var keywords = findElements(page.markup, "itemprop", "keywords")[0];
    if (keywords) {
        var links = findTags(page.markup, "a", keywords.end,
            contentEnd(page.markup, keywords), 200);
        var words = [];
        for (var i = 0; i < links.length; i += 1)
            words.push(line(textOf(page.markup, links[i], 1000)));
        found.keywords = words.join(", ") || found.keywords;
    }
    var description = findElements(page.markup, "id", "descript")[0];
    if (description)
        found.description = textOf(page.markup, description) || found.description;
}

// The first part of the item that has streams, or what the meta tags tell when none has.
function readArchive(page) {
    var lists = archiveLists(page);
    var found = { streams: [], seconds: "", playlist: false, error: "the item has no video file" };
    var known = false;
    for (var i = 0; i < lists.length; i += 1) {
        var parts = listOf(lists[i]);
        known = known || lists[i] instanceof Array;
        for (var j = 0; j < parts.length && found.streams.length === 0; j += 1)
            addArchivePart(found, page, parts[j]);
    }
    if (!known)
        return null;
    if (found.streams.length === 0)
        addOpenGraph(found, page);
    found.streams = arrange(found.streams);
    found.seconds = found.seconds || duration(meta(page, "video:duration"));
    addArchiveDetails(found, page);
    return found;
}

// An item without a list that can be read: what its meta tags tell.
function readArchiveTags(page) {
    if (!archiveSuffix.test(line(meta(page, "og:title"))))
        return null;
    var found = { streams: [], seconds: "", playlist: false, error: "no player" };
    addOpenGraph(found, page);
    found.streams = arrange(found.streams);
    addArchiveDetails(found, page);
    return found;
}
