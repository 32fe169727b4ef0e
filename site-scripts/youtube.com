// Reads watch pages that assign the player's object in an inline script. The page's addresses may
// be https, the program fetches http only, so they are rewritten.

var player = null; // the page's player object, read by the companion scripts
var maxTries = 10; // assignments looked at in one script

// The object that begins at a brace, as text; empty when it never ends.
function cutObject(text, start) {
    var marks = /["{}\[\]]/g;
    var stringMarks = /["\\]/g;
    var depth = 0;
    var found;
    marks.lastIndex = start;
    while ((found = marks.exec(text)) !== null) {
        if (found[0] === "\"") {
            stringMarks.lastIndex = marks.lastIndex;
            while ((found = stringMarks.exec(text)) !== null && found[0] === "\\")
                stringMarks.lastIndex += 1;
            if (found === null)
                return "";
            marks.lastIndex = stringMarks.lastIndex;
        } else if (found[0] === "{" || found[0] === "[") {
            depth += 1;
        } else {
            depth -= 1;
            if (depth === 0)
                return text.substring(start, marks.lastIndex);
        }
    }
    return "";
}

function isObject(value) {
    return typeof value === "object" && value !== null;
}

// The player's object that one inline script assigns, or null.
function playerInScript(code) {
    var assignment = /ytInitialPlayerResponse["'\]]*\s*=\s*(?=\{)/g;
    for (var tries = 0; tries < maxTries && assignment.exec(code) !== null; tries += 1) {
        try {
            var value = JSON.parse(cutObject(code, assignment.lastIndex));
            if (isObject(value) && (value.playabilityStatus || value.streamingData))
                return value;
        } catch (e) {
            // The name may also stand elsewhere in the code.
        }
    }
    return null;
}

// Looks into script elements only: what a person wrote into a description is not the player's.
function findPlayer(page) {
    var position = page.indexOf("<script");
    while (position >= 0) {
        var begin = page.indexOf(">", position);
        if (begin < 0)
            return null;
        var end = page.indexOf("</script", begin);
        if (end < 0)
            end = page.length;
        var found = playerInScript(page.substring(begin + 1, end));
        if (found)
            return found;
        position = page.indexOf("<script", end);
    }
    return null;
}

// Texts and numbers as text; anything else is damage and counts as missing.
function plain(value) {
    return typeof value === "string" || typeof value === "number" ? String(value) : "";
}

// One of the video's details.
function detail(name) {
    var details = isObject(player) ? player.videoDetails : null;
    return isObject(details) ? plain(details[name]) : "";
}

// The separators of the stream list cannot be part of its fields.
function field(value) {
    return plain(value).replace(/[|$]/g, "");
}

// The size as a whole number of pixels, 0 when it is none.
function pixels(value) {
    var number = Math.floor(Number(plain(value)));
    return number > 0 && number < 100000 ? number : 0;
}

// One record of the stream list; empty when the format cannot be fetched as it is.
function record(format) {
    if (!isObject(format) || typeof format.url !== "string" || format.cipher ||
        format.signatureCipher)
        return "";
    var address = format.url.replace(/^https:\/\//, "http://").replace(/\|/g, "%7C");
    var type = /^video\/(?:x-)?([\w.\-]+)/.exec(plain(format.mimeType));
    var width = pixels(format.width);
    var height = pixels(format.height);
    if (!/^http:\/\/[^\s\/]+\S*$/.test(address) || !type || !width || !height)
        return "";
    var seconds = detail("lengthSeconds");
    return width + "x" + height + "$" + (/^\d+$/.test(seconds) ? seconds : "") + "$" +
        field(format.qualityLabel) + "$" + type[1] + "|" + address;
}

function streamList() {
    player = findPlayer(String(strWebBuffer));
    if (!player)
        return "$Error:the page assigns no player object";
    var status = player.playabilityStatus;
    if (isObject(status) && status.status !== "OK")
        return "$Error:not playable: " + field(status.reason || status.status);
    // Only these hold sound and picture together; the adaptive ones hold either.
    var formats = isObject(player.streamingData) ? player.streamingData.formats : null;
    var records = [];
    if (formats instanceof Array) {
        for (var i = 0; i < formats.length; i += 1) {
            var text = record(formats[i]);
            if (text)
                records.push(text);
        }
    }
    return records.length > 0 ? records.join("||") : "$Error:no stream with sound and picture";
}

streamList();
