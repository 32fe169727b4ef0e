// Pages that assign the player's object in an inline script.

var maxTries = 10; // assignments looked at in one script

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

// A size that is exactly a number.
function exactPixels(value) {
    var number = Math.floor(Number(plain(value)));
    return number > 0 && number < 100000 ? number : 0;
}

// One stream; null when the format cannot be fetched as it is.
function playerStream(format) {
    if (!isObject(format) || typeof format.url !== "string" || format.cipher ||
        format.signatureCipher)
        return null;
    var address = format.url.replace(/\|/g, "%7C");
    if (fetchesHttpsAsHttp)
        address = address.replace(/^https:\/\//, "http://");
    var type = /^video\/(?:x-)?([\w.\-]{1,40})/.exec(plain(format.mimeType));
    var width = exactPixels(format.width);
    var height = exactPixels(format.height);
    if (!/^https?:\/\/[^\s\/]\S*$/.test(address) || !type || !width || !height)
        return null;
    return {
        address: address, type: type[1], width: width, height: height, label: format.qualityLabel
    };
}

// Looks into scripts only: what a person wrote into a description is not the player's.
function readPlayer(page) {
    var player = null;
    for (var i = 0; i < page.scripts.length && !player; i += 1)
        player = playerInScript(page.scripts[i].text);
    if (!player)
        return null;
    var details = isObject(player.videoDetails) ? player.videoDetails : {};
    var words = [];
    var keywords = details.keywords instanceof Array ? details.keywords : [];
    for (i = 0; i < keywords.length; i += 1)
        words.push(plain(keywords[i]));
    var seconds = plain(details.lengthSeconds);
    var result = {
        title: plain(details.title), keywords: words.join(", "),
        description: plain(details.shortDescription),
        seconds: /^\d+$/.test(seconds) ? seconds : "", streams: [],
        error: "no stream with sound and picture"
    };
    var status = player.playabilityStatus;
    if (isObject(status) && status.status !== "OK") {
        result.error = "not playable: " + plain(status.reason || status.status);
        return result;
    }
    // Only these hold sound and picture together; the adaptive ones hold either.
    var data = player.streamingData;
    var formats = isObject(data) && data.formats instanceof Array ? data.formats : [];
    for (i = 0; i < formats.length; i += 1) {
        var stream = playerStream(formats[i]);
        if (stream)
            result.streams.push(stream);
    }
    return result;
}
