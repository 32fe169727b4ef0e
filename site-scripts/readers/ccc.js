// Talks whose player has a source for each language, size and format.

// The length stands in linked data that is put together without escaping.
function cccSeconds(page) {
    var texts = linkedData(page);
    for (var i = 0; i < texts.length; i += 1) {
        var place = texts[i].indexOf("\"duration\"");
        var found = place < 0 ? null
            : /^"duration"\s*:\s*"([^"]{1,40})"/.exec(texts[i].substr(place, 100));
        if (found && duration(found[1]))
            return duration(found[1]);
    }
    return "";
}

// The shape of the picture, which the narrow files too are shown in.
function cccRatio(player) {
    var told = plain(player.attributes["data-aspect-ratio"]);
    var ratio = /^\s*(\d{1,4})\s*:\s*(\d{1,4})\s*$/.exec(told);
    return ratio && pixels(ratio[1]) && pixels(ratio[2]) ? pixels(ratio[1]) / pixels(ratio[2])
        : 16 / 9;
}

function readCcc(page) {
    var playlist = findElements(page.markup, "data-m3u8").length > 0;
    var player = findElements(page.markup, "data-aspect-ratio")[0] ||
        findElements(page.markup, "data-m3u8")[0];
    if (!player)
        return null;
    var found = { streams: [], seconds: cccSeconds(page), playlist: playlist };
    var later = { streams: [] }; // the same size in a format that takes more to play
    var sources = findTags(page.markup, "source", player.begin,
        contentEnd(page.markup, player), mostSources);
    for (var i = 0; i < sources.length; i += 1) {
        var about = sources[i].attributes;
        if (/^\s*slides/i.test(about.title))
            continue;
        addStream(/av01/i.test(about.type) ? later : found, page, about.src, about.type,
            { label: about.title, ratio: cccRatio(player) });
    }
    found.streams = arrange(found.streams.concat(later.streams));
    addDetails(found, page, {});
    found.error = found.playlist ? "no file yet, only a live stream" : "no player";
    return found;
}
