// File pages with a video element for the file and what it was made into.

// The words of a list that an inline script assigns.
function commonsCategories(page) {
    for (var i = 0; i < page.scripts.length; i += 1) {
        var code = page.scripts[i].text;
        var place = code.indexOf("\"wgCategories\":");
        var bracket = place < 0 ? -1 : code.indexOf("[", place);
        var words = bracket < 0 ? null : parseJson(cutObject(code, bracket));
        if (words instanceof Array) {
            var texts = [];
            for (var j = 0; j < words.length; j += 1)
                texts.push(line(words[j]));
            return texts.join(", ");
        }
    }
    return "";
}

function commonsTitle(page, name) {
    var title = name || (line(meta(page, "og:title")) || pageTitle(page))
        .replace(/^File:/, "").replace(/ - Wikimedia Commons$/, "");
    return line(title.replace(/\.[a-z0-9]{1,5}$/i, "").replace(/_/g, " "));
}

function readCommons(page) {
    var box = findElements(page.markup, "id", "file")[0];
    if (!box)
        return null;
    // Other videos of the page are in the description.
    var video = findTags(page.markup, "video", box.end, contentEnd(page.markup, box))[0];
    var found = { streams: [], seconds: "", playlist: false, error: "the file is no video" };
    var made = { streams: [] };
    if (video) {
        var sources = findTags(page.markup, "source", video.end, contentEnd(page.markup, video),
            mostSources);
        for (var i = 0; i < sources.length; i += 1) {
            var about = sources[i].attributes;
            var address = before(plain(about.src), "?utm_");
            addStream(about["data-transcodekey"] ? made : found, page, address, about.type, {
                width: about["data-width"], height: about["data-height"],
                ratio: pixels(video.attributes.width) / pixels(video.attributes.height) || 0
            });
        }
        found.seconds = wholeSeconds(video.attributes["data-durationhint"]);
        found.error = "no file yet";
    }
    found.streams = arrange(found.streams.concat(made.streams));
    addDetails(found, page, {});
    found.title = commonsTitle(page, video && plain(video.attributes["data-mwtitle"]));
    found.keywords = commonsCategories(page) || found.keywords;
    return found;
}
