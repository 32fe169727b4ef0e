// Texts, numbers and lengths as pages write them.

// The named entities from U+00A0 on, in their order, and those of other places.
var latinEntities = (
    "nbsp iexcl cent pound curren yen brvbar sect uml copy ordf laquo not shy reg macr deg " +
    "plusmn sup2 sup3 acute micro para middot cedil sup1 ordm raquo frac14 frac12 frac34 " +
    "iquest Agrave Aacute Acirc Atilde Auml Aring AElig Ccedil Egrave Eacute Ecirc Euml " +
    "Igrave Iacute Icirc Iuml ETH Ntilde Ograve Oacute Ocirc Otilde Ouml times Oslash Ugrave " +
    "Uacute Ucirc Uuml Yacute THORN szlig agrave aacute acirc atilde auml aring aelig ccedil " +
    "egrave eacute ecirc euml igrave iacute icirc iuml eth ntilde ograve oacute ocirc otilde " +
    "ouml divide oslash ugrave uacute ucirc uuml yacute thorn yuml"
).split(" ");
var otherEntities = {
    amp: 38, lt: 60, gt: 62, quot: 34, apos: 39, OElig: 338, oelig: 339, Scaron: 352, scaron: 353,
    ensp: 8194, emsp: 8195, thinsp: 8201, ndash: 8211, mdash: 8212, lsquo: 8216, rsquo: 8217,
    sbquo: 8218, ldquo: 8220, rdquo: 8221, bdquo: 8222, bull: 8226, hellip: 8230, euro: 8364,
    trade: 8482, minus: 8722, sol: 47, colon: 58, comma: 44, period: 46, lpar: 40, rpar: 41
};

// By name; a code at a name that every object knows ("constructor") is not a number.
var entityCodes = (function () {
    var codes = otherEntities;
    for (var i = 0; i < latinEntities.length; i += 1)
        codes[latinEntities[i]] = 160 + i;
    return codes;
})();

function characterOf(code) {
    if (!(code > 0 && code <= 0x10ffff) || (code >= 0xd800 && code <= 0xdfff))
        return "\ufffd";
    if (code < 0x10000)
        return String.fromCharCode(code);
    return String.fromCharCode(0xd800 + ((code - 0x10000) >> 10), 0xdc00 + (code & 0x3ff));
}

// Each entity once: what comes out of one is not looked at again.
function decodeEntities(text) {
    if (text.indexOf("&") < 0)
        return text;
    return text.replace(/&(?:#(\d{1,7})|#x([0-9a-f]{1,6})|([a-z][a-z0-9]{1,7}));/gi,
        function (whole, decimal, hexadecimal, name) {
            if (decimal)
                return characterOf(parseInt(decimal, 10));
            if (hexadecimal)
                return characterOf(parseInt(hexadecimal, 16));
            return typeof entityCodes[name] === "number" ? characterOf(entityCodes[name]) : whole;
        });
}

function isObject(value) {
    return typeof value === "object" && value !== null;
}

// Texts and numbers as text; anything else is damage and counts as missing.
function plain(value) {
    return typeof value === "string" || typeof value === "number" ? String(value) : "";
}

// A line of text: entities decoded, blanks of every kind and number (also U+00A0) as one.
function line(value) {
    return decodeEntities(plain(value)).replace(/\s+/g, " ").replace(/^ | $/g, "");
}

// The size as a whole number of pixels, 0 when it is none. Metadata has it as a number, as text
// ("1920", "1920px") or as an object around one of them. A share ("100%") is none.
function pixels(value) {
    if (isObject(value))
        value = plain(value.value) || plain(value.name);
    var text = plain(value);
    var number = text.indexOf("%") < 0 ? Math.floor(parseFloat(text)) : 0;
    return number > 0 && number < 100000 ? number : 0;
}

// Seconds as the list of streams has them: whole, as text; empty when the value is no length.
function wholeSeconds(value) {
    var number = /^\s*\d+(?:[.,]\d+)?\s*$/.test(plain(value).substr(0, 40))
        ? Math.round(parseFloat(plain(value).replace(",", "."))) : 0;
    return number > 0 && number < 1e9 ? String(number) : "";
}

// The same of an ISO 8601 duration ("PT22M5.4S", "P0DT00H29M20S"), or of plain seconds.
function duration(value) {
    var seconds = [31536000, 2592000, 604800, 86400, 3600, 60, 1]; // years to seconds
    var number = "(\\d{1,9}(?:[.,]\\d{1,9})?)";
    var form = new RegExp(("^P(?:#Y)?(?:#M)?(?:#W)?(?:#D)?(?:T(?:#H)?(?:#M)?(?:#S)?)?$")
        .replace(/#/g, number), "i");
    var parts = form.exec(plain(value).substr(0, 100).replace(/\s/g, ""));
    if (!parts)
        return wholeSeconds(value);
    var sum = 0;
    for (var i = 0; i < seconds.length; i += 1)
        sum += parts[i + 1] ? parseFloat(parts[i + 1].replace(",", ".")) * seconds[i] : 0;
    return wholeSeconds(sum.toFixed(3));
}
