// Pages that tell of their video as schema.org's VideoObject (linked data or microdata), as Open
// Graph or as HTML5 video.

var mostSources = 200; // of one player

// Adds a stream to what a reader found; the type is a MIME type, or empty for what the name says.
function addStream(found, page, reference, type, size) {
    var address = resolve(reference, page.base);
    found.playlist = found.playlist || isPlaylist(type, address);
    var container = address ? containerOf(type, address) : "";
    if (!container)
        return;
    var height = pixels(size.height);
    var width = height ? pixels(size.width) : 0;
    if (!height) {
        var text = heightIn(plain(size.label)) ? plain(size.label) : fileName(address);
        height = heightIn(text);
        width = widthIn(text);
    }
    if (height && !width)
        width = inRatio(height, size.ratio || 16, size.ratio ? 1 : 9);
    found.streams.push({
        address: address, type: container, width: width, height: height,
        label: height ? height + "p" : ""
    });
}

// A file that is declared as such needs no name: who has none may be asked for by a number.
function fileType(type, address) {
    return type || extension(resolve(address, "http://host/")) ? type : "mp4";
}

// Adds files that are told together, with a size when only one of them is a video: of several
// nobody knows whose size it is.
function addFiles(found, page, files, type, size) {
    var first = found.streams.length;
    for (var i = 0; i < files.length; i += 1)
        addStream(found, page, files[i], fileType(type, files[i]), size || {});
    if (size && found.streams.length > first + 1) {
        found.streams.length = first;
        addFiles(found, page, files, type, null);
    }
}

function addVideoObject(found, page, object) {
    var files = listOf(object.contentUrl);
    for (var i = 0; i < files.length; i += 1)
        files[i] = plain(isObject(files[i]) ? files[i].url || files[i]["@id"] : files[i]);
    addFiles(found, page, files, plain(object.encodingFormat),
        { width: object.width, height: object.height });
    found.seconds = found.seconds || duration(object.duration);
}

// Where an item of microdata tells of others that belong to it: captions, pictures, persons. One
// that is not closed soon is none.
function innerItems(page, from, until) {
    var tags = findElements(page.markup, "itemscope", "", from, until).slice(0, 200);
    var items = [];
    var last = 0;
    for (var i = 0; i < tags.length; i += 1) {
        if (tags[i].begin < last)
            continue;
        var content = page.markup.substr(tags[i].end, mostText);
        var length = contentEnd(content, { name: tags[i].name, end: 0 });
        if (length < content.length)
            items.push({ begin: tags[i].end, end: last = tags[i].end + length });
    }
    return items;
}

function isIn(items, place) {
    for (var i = 0; i < items.length; i += 1) {
        if (place >= items[i].begin && place < items[i].end)
            return true;
    }
    return false;
}

// The same, said by attributes of the elements that a person sees.
function addMicrodata(found, page) {
    var scope = findElements(page.markup, "itemtype", "VideoObject")[0];
    var from = scope ? scope.begin : 0;
    var until = scope ? contentEnd(page.markup, scope) : page.markup.length;
    var others = scope ? innerItems(page, scope.end, until) : [];
    function properties(name, isAddress) {
        var tags = findElements(page.markup, "itemprop", name, from, until);
        var values = [];
        for (var i = 0; i < tags.length; i += 1) {
            var attributes = tags[i].attributes;
            if (isIn(others, tags[i].begin))
                continue;
            values.push(attributes.content || attributes.href || attributes.src ||
                attributes.datetime || (isAddress ? "" : textOf(page.markup, tags[i], 1000)));
        }
        return values;
    }
    var files = properties("contentUrl", true);
    if (files.length === 0)
        return;
    addFiles(found, page, files, plain(properties("encodingFormat")[0]),
        { width: properties("width")[0], height: properties("height")[0] });
    found.seconds = found.seconds || duration(properties("duration")[0]);
}

// An address of its own begins another video; the other tags say more about the last one.
function addOpenGraph(found, page) {
    var videos = [];
    for (var i = 0; i < page.meta.length; i += 1) {
        var name = /^og:video(?::(url|secure_url|type|width|height))?$/.exec(page.meta[i].name);
        if (!name)
            continue;
        var key = name[1] || "url"; // which both say the same
        var last = videos[videos.length - 1];
        if (!last || (key === "url" && last.url && last.url !== page.meta[i].content))
            videos.push(last = {});
        last[key] = page.meta[i].content;
    }
    for (i = 0; i < videos.length; i += 1)
        addStream(found, page, videos[i].secure_url || videos[i].url, videos[i].type,
            videos[i]);
    found.seconds = found.seconds || duration(meta(page, "video:duration")) ||
        duration(meta(page, "og:video:duration"));
}

// The sources of one video element. The element's size is the one it is shown in, so it tells the
// shape of the picture, and its size only where nothing else does.
function addVideoElement(found, page, video) {
    var sources = [video].concat(findTags(page.markup, "source", video.end, video.contentEnd,
        mostSources));
    var width = pixels(video.attributes.width);
    var height = pixels(video.attributes.height);
    for (var i = 0; i < sources.length; i += 1) {
        var about = sources[i].attributes;
        var address = resolve(about.src, page.base);
        if (!address)
            continue;
        var label = [about.label, about.title, about.res, about.size, about["data-quality"]];
        var size = { label: label.join(" "), ratio: width && height ? width / height : 0 };
        if (!heightIn(size.label) && !heightIn(fileName(address))) {
            size.width = width;
            size.height = height;
        }
        addStream(found, page, address, fileType(about.type, address), size);
    }
}

function sharesAddress(some, known) {
    for (var i = 0; i < some.length; i += 1) {
        if (known["at " + some[i].address])
            return true;
    }
    return false;
}

// Of the video elements the one that plays what the page's data tell of, or the first when they
// tell of nothing: the others are previews and advertisements.
function addVideoElements(found, page) {
    var videos = findTags(page.markup, "video|/video", 0, undefined, 40);
    var known = {};
    for (var i = 0; i < found.streams.length; i += 1)
        known["at " + found.streams[i].address] = true;
    for (i = 0; i < videos.length; i += 1) {
        if (videos[i].name !== "video")
            continue;
        var own = { streams: [] };
        // They cannot stand in each other.
        videos[i].contentEnd = i + 1 < videos.length ? videos[i + 1].begin : page.markup.length;
        addVideoElement(own, page, videos[i]);
        found.playlist = found.playlist || own.playlist;
        if (own.streams.length > 0 &&
            (found.streams.length === 0 || sharesAddress(own.streams, known))) {
            found.streams = found.streams.concat(own.streams);
            return;
        }
    }
}

// What the page says of its video beside the streams.
function addDetails(found, page, object) {
    found.title = line(object.name) || line(meta(page, "og:title")) || pageTitle(page);
    var words = listOf(object.keywords);
    var texts = [];
    for (var i = 0; i < words.length; i += 1) {
        if (line(words[i]))
            texts.push(line(words[i]));
    }
    found.keywords = texts.join(", ") || line(meta(page, "keywords"));
    found.description = decodeEntities(plain(object.description)) ||
        meta(page, "og:description") || meta(page, "description");
}

function readGeneric(page) {
    var object = videoObject(page) || {};
    var found = { streams: [], seconds: "", playlist: false };
    addVideoObject(found, page, object);
    if (found.streams.length === 0)
        addMicrodata(found, page);
    addOpenGraph(found, page);
    addVideoElements(found, page);
    addDetails(found, page, object);
    found.streams = arrange(found.streams);
    found.error = found.playlist ? "the page needs a live stream or a playlist (m3u8, mpd)"
        : object.embedUrl ? "no file, only a player page: " + plain(object.embedUrl)
        : "no player";
    return found;
}
