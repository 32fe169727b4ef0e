// The elements of a page. Every search goes once over the page, whatever it says.

var mostTags = 2000; // of a kind that are looked at
var mostText = 100000; // characters of an element that are read

// The attributes of the tag whose name ends at a position, by lower-case name and decoded, and the
// position behind the tag; null when it never ends.
function readTag(markup, position) {
    var parts = /([^\s"'<>\/=]+)(?:\s*=\s*(?:"([^"]*)"|'([^']*)'|([^\s"'>]*)))?|>/g;
    var attributes = {};
    var found;
    parts.lastIndex = position;
    while ((found = parts.exec(markup)) !== null) {
        if (found[0] === ">")
            return { attributes: attributes, end: parts.lastIndex };
        var name = found[1].toLowerCase();
        if (attributes[name] === undefined)
            attributes[name] = decodeEntities(found[2] || found[3] || found[4] || "");
    }
    return null;
}

// Takes a page apart: its scripts with their types, and the markup without scripts, styles and
// comments, in which whatever looks like a tag is none.
function splitPage(text) {
    var starts = /<(?:!--|(script|style)(?=[\s\/>]))/gi;
    var ends = { script: /<\/script[^>]*>?/gi, style: /<\/style[^>]*>?/gi };
    var pieces = [];
    var scripts = [];
    var kept = 0; // everything before is in the pieces, or left out
    var found;
    while ((found = starts.exec(text)) !== null) {
        var behind = -1;
        if (found[1]) {
            var tag = readTag(text, starts.lastIndex);
            if (!tag)
                break;
            var end = ends[found[1].toLowerCase()];
            end.lastIndex = tag.end;
            var close = end.exec(text);
            behind = close ? end.lastIndex : text.length;
            if (found[1].toLowerCase() === "script")
                scripts.push({
                    type: plain(tag.attributes.type),
                    text: text.substring(tag.end, close ? close.index : text.length)
                });
        } else {
            behind = text.indexOf("-->", starts.lastIndex) + 3;
            if (behind < 3) { // a comment that never ends hides nothing
                starts = /<(script|style)(?=[\s\/>])/gi;
                starts.lastIndex = found.index + 4;
                continue;
            }
        }
        pieces.push(text.substring(kept, found.index));
        kept = behind;
        starts.lastIndex = behind;
    }
    pieces.push(text.substring(kept));
    return { markup: pieces.join(" "), scripts: scripts };
}

// The tags of some names ("input|play-av") that begin in a part of the markup, at most some.
function findTags(markup, names, from, until, most) {
    var starts = new RegExp("<(" + names + ")(?=[\\s/>])", "gi");
    var tags = [];
    var found;
    starts.lastIndex = from || 0;
    while (tags.length < (most || mostTags) && (found = starts.exec(markup)) !== null &&
           (until === undefined || found.index < until)) {
        var tag = readTag(markup, starts.lastIndex);
        if (!tag)
            break;
        tag.name = found[1].toLowerCase();
        tag.begin = found.index;
        tags.push(tag);
        starts.lastIndex = tag.end;
    }
    return tags;
}

// True when a word stands in an attribute, alone, among others or at the end of an address.
function hasWord(value, word) {
    var words = plain(value).split(/\s+/);
    for (var i = 0; i < words.length; i += 1) {
        var place = words[i].length - word.length;
        if (words[i] === word || (place > 0 && words[i].substr(place - 1) === "/" + word))
            return true;
    }
    return false;
}

// The tags whose attribute has the word, or is there at all when no word is given. The tag's name
// must stand at most 4,000 characters before.
function findElements(markup, attribute, word, from, until) {
    var position = from || 0;
    var last = until === undefined ? markup.length : until;
    var tags = [];
    for (var tries = 0; tries < mostTags; tries += 1) {
        position = markup.indexOf(word || attribute, position);
        if (position < 0 || position >= last)
            break;
        var before = markup.substring(Math.max(0, position - 4000), position);
        var begin = position - before.length + before.lastIndexOf("<");
        var name = before.lastIndexOf("<") < 0 ? null
            : /^<([a-z][a-z0-9\-]*)(?=[\s\/])/i.exec(markup.substr(begin, 40));
        var tag = name ? readTag(markup, begin + name[0].length) : null;
        position += 1;
        if (tag && tag.end > position) {
            position = tag.end;
            tag.name = name[1].toLowerCase();
            tag.begin = begin;
            if (word ? hasWord(tag.attributes[attribute], word)
                     : tag.attributes[attribute] !== undefined)
                tags.push(tag);
        } else if (name && !tag) {
            break;
        }
    }
    return tags;
}

// Where the content of a tag's element ends: at the end of the markup when it is not closed.
function contentEnd(markup, tag) {
    var marks = new RegExp("<(/?)" + tag.name + "(?=[\\s/>])", "gi");
    var depth = 1;
    var found;
    marks.lastIndex = tag.end;
    while ((found = marks.exec(markup)) !== null) {
        depth += found[1] ? -1 : 1;
        if (depth === 0)
            return found.index;
    }
    return markup.length;
}

// The text of an element, with a line for each of its blocks; not more than some characters of an
// element, because a page may have many that never end.
function textOf(markup, tag, most) {
    var html = markup.substr(tag.end, most || mostText);
    html = html.substring(0, contentEnd(html, { name: tag.name, end: 0 }))
        .replace(/\s+/g, " ");
    var tags = /<[a-z\/!]/gi;
    var pieces = [];
    var position = 0;
    var found;
    while ((found = tags.exec(html)) !== null) {
        pieces.push(html.substring(position, found.index));
        if (/^<\/?(?:br|p|div|li|h\d|tr)[\s\/>]/i.test(html.substr(found.index, 10)))
            pieces.push("\n");
        var end = html.indexOf(">", found.index);
        position = end < 0 ? html.length : end + 1;
        tags.lastIndex = position;
    }
    pieces.push(html.substring(position));
    var lines = pieces.join("").split("\n");
    var texts = [];
    for (var i = 0; i < lines.length; i += 1) {
        var text = line(lines[i]);
        if (text)
            texts.push(text);
    }
    return texts.join("\n");
}
