// Streams: { address, type, width, height, label }, sizes 0 when they are not known.

var containers = {
    mp4: "mp4", m4v: "mp4", webm: "webm", ogg: "ogg", ogv: "ogg", flv: "flv", quicktime: "mov",
    mov: "mov", matroska: "matroska", mkv: "matroska", mpeg: "mpeg", mpg: "mpeg", avi: "avi"
};
var playlists = { m3u8: true, mpd: true };
// Names that pages without a type must end in.
var streamNames = { mp4: true, m4v: true, webm: true, ogv: true, flv: true, mov: true };

function isPlaylist(type, address) {
    return /mpegurl|dash\+xml/i.test(plain(type)) || playlists[extension(address)] === true;
}

// The container that a MIME type, or a bare name of one, stands for; without a type the one that
// the address' name ends in. Empty for sound, playlists, player pages and everything else.
function containerOf(type, address) {
    var name = plain(type).replace(/^["'\s]+/, "").substr(0, 60).toLowerCase();
    if (isPlaylist(name, address))
        return "";
    if (!name)
        return streamNames[extension(address)] === true ? containers[extension(address)] : "";
    var found = /^(?:(?:video|application)\/)?(?:x-)?([a-z0-9]+)(?:$|[;\s"'])/.exec(name);
    var container = found ? containers[found[1]] : "";
    return typeof container === "string" ? container : "";
}

// The width that belongs to a height, or the other way round: even, as encoders make them.
function inRatio(length, numerator, denominator) {
    return numerator > 0 && denominator > 0 ? 2 * Math.round(length * numerator / denominator / 2)
        : 0;
}

// The height that a name or a label tells ("-1080p.", "_720.", "1920x1080"), 0 without one.
function heightIn(text) {
    var known = " 144 240 270 288 360 404 432 480 540 576 720 1080 1440 2160 ";
    var size = /\d{3,4}x(\d{3,4})(?!\d)/.exec(text) || /(?:^|\D)(\d{3,4})p(?![a-z0-9])/i.exec(text);
    if (size)
        return pixels(size[1]);
    var numbers = text.match(/\d+/g) || [];
    for (var i = numbers.length - 1; i >= 0; i -= 1) {
        if (known.indexOf(" " + numbers[i] + " ") >= 0)
            return pixels(numbers[i]);
    }
    return 0;
}

// The width beside it ("1080x1920"), 0 without one.
function widthIn(text) {
    var size = /(\d{3,4})x\d{3,4}(?!\d)/.exec(text);
    return size ? pixels(size[1]) : 0;
}

// The separators of the stream list cannot be part of its fields.
function field(value) {
    return plain(value).replace(/[|$]/g, "");
}

// Each address once, with the size that any mention of it tells.
function withoutRepeats(streams) {
    var kept = [];
    var places = {};
    for (var i = 0; i < streams.length; i += 1) {
        var stream = streams[i];
        var place = places["at " + stream.address];
        if (place === undefined) {
            places["at " + stream.address] = kept.length;
            kept.push(stream);
        } else if (!kept[place].height && stream.height) {
            kept[place].width = stream.width;
            kept[place].height = stream.height;
        }
    }
    return kept;
}

// In the order that the program needs of streams which stand in the page's order of preference.
// It chooses by size among mp4 and flv and takes the last of the same size, so that only the
// preferred one stays. Where it has none of them it takes the first: the largest picture that is
// not beyond 1080 lines comes before smaller ones, and these before those that are beyond.
function arrange(streams) {
    var chosen = [];
    var others = [];
    var sizes = {};
    var all = withoutRepeats(streams);
    for (var i = 0; i < all.length; i += 1) {
        var stream = all[i];
        var key = stream.type + stream.width + "x" + stream.height;
        if (stream.type !== "mp4" && stream.type !== "flv")
            others.push({ stream: stream, place: i, pixels: stream.width * stream.height });
        else if (!sizes[key])
            chosen.push(stream);
        sizes[key] = true;
    }
    others.sort(function (a, b) {
        var aBeyond = a.stream.height > 1080 && a.stream.width > 1080;
        var bBeyond = b.stream.height > 1080 && b.stream.width > 1080;
        if (aBeyond !== bBeyond)
            return aBeyond ? 1 : -1;
        return (aBeyond ? a.pixels - b.pixels : b.pixels - a.pixels) || a.place - b.place;
    });
    for (i = 0; i < others.length; i += 1)
        chosen.push(others[i].stream);
    return chosen;
}

function recordOf(stream, seconds) {
    return stream.width + "x" + stream.height + "$" + seconds + "$" + field(stream.label) + "$" +
        field(stream.type) + "|" + stream.address;
}
