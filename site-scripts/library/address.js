// Addresses as pages write them.

// What stands before a mark, or the whole text. Searched for by no regular expression: one that
// does not match up to the end would begin again at each mark, and pages may have thousands.
function before(text, mark) {
    var place = text.indexOf(mark);
    return place < 0 ? text : text.substr(0, place);
}

// An absolute address in its parts, or null. The program tells http by small letters.
function splitAddress(address) {
    var parts = /^(https?):\/\/([^\s\/?#\\]{1,300})([^?#]*)/i.exec(address);
    return parts && { scheme: parts[1].toLowerCase(), host: parts[2], path: parts[3] || "/" };
}

// Without "." and "..", as a browser asks for it.
function plainPath(path) {
    if (path.indexOf("/.") < 0)
        return path;
    var parts = path.split("/");
    var kept = [];
    for (var i = 0; i < parts.length; i += 1) {
        var last = i === parts.length - 1;
        if (parts[i] === "..") {
            if (kept.length > 1)
                kept.pop();
        } else if (parts[i] !== ".") {
            kept.push(parts[i]);
            continue;
        }
        if (last)
            kept.push("");
    }
    return kept.join("/");
}

// The absolute http or https address that a reference on a page stands for, without a fragment;
// empty when there is none. The base is absolute or empty. No separator of the list of streams
// and no blank is left in it.
function resolve(reference, base) {
    var text = before(plain(reference).trim().replace(/[\r\n\t]/g, ""), "#");
    if (!text || text.length > 8000)
        return "";
    var home = splitAddress(base);
    var scheme = /^([a-z][a-z0-9+.\-]{0,30}):/i.exec(text);
    var address = text;
    if (!scheme && text.substr(0, 2) === "//")
        address = (home ? home.scheme : "https") + ":" + text;
    else if (!scheme && !home)
        return "";
    else if (!scheme) {
        var path = text.charAt(0) === "/" ? text
            : text.charAt(0) === "?" ? home.path + text
            : home.path.substr(0, home.path.lastIndexOf("/") + 1) + text;
        address = home.scheme + "://" + home.host + path;
    }
    var parts = splitAddress(address);
    if (!parts)
        return "";
    var query = address.substr(before(address, "?").length);
    return (parts.scheme + "://" + parts.host + plainPath(parts.path) + query)
        .replace(/[\s\u0000-\u001f|]/g, encodeURIComponent);
}

// The last part of an address' path.
function fileName(address) {
    var path = before(before(address, "?"), "#");
    return path.substr(path.lastIndexOf("/") + 1);
}

// What the name ends in, in small letters.
function extension(address) {
    var found = /\.([a-z0-9]{1,8})$/i.exec(fileName(address));
    return found ? found[1].toLowerCase() : "";
}
