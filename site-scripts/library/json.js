// Data that a page carries as JSON.

// The object or list that begins at a bracket, as text; empty when it never ends.
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

// The value of a JSON text, null when it is none. What stands around it (a comment, a semicolon)
// and line ends inside texts are forgiven.
function parseJson(text) {
    text = text.replace("<![CDATA[", "").replace("]]>", "");
    var begin = text.search(/[{\[]/);
    var end = Math.max(text.lastIndexOf("}"), text.lastIndexOf("]"));
    if (begin < 0 || end < begin)
        return null;
    var json = text.substring(begin, end + 1);
    for (var tries = 0; tries < 2; tries += 1) {
        try {
            return JSON.parse(json);
        } catch (e) {
            json = json.replace(/[\u0000-\u001f]+/g, " ");
        }
    }
    return null;
}

// A value as a list: itself when it is one, else the value alone, or nothing.
function listOf(value) {
    if (value instanceof Array)
        return value.slice(0, 1000);
    return value === undefined || value === null ? [] : [value];
}

function isVideoObject(value) {
    var types = listOf(value["@type"]);
    for (var i = 0; i < types.length; i += 1) {
        if (hasWord(types[i], "VideoObject"))
            return true;
    }
    return false;
}

// The first VideoObject in a value; one that names a file comes before one that names none.
function findVideoObject(value) {
    var left = 20000; // values that are looked at
    var nameless = null;
    function walk(node, depth) {
        left -= 1;
        if (!isObject(node) || depth > 20 || left < 0)
            return null;
        if (!(node instanceof Array) && isVideoObject(node)) {
            if (node.contentUrl)
                return node;
            nameless = nameless || node;
        }
        for (var key in node) {
            var found = walk(node[key], depth + 1);
            if (found || left < 0)
                return found;
        }
        return null;
    }
    return walk(value, 0) || nameless;
}

// The texts of the page's scripts that hold linked data.
function linkedData(page) {
    var texts = [];
    for (var i = 0; i < page.scripts.length; i += 1) {
        if (/ld\+json/i.test(page.scripts[i].type))
            texts.push(page.scripts[i].text);
    }
    return texts;
}

// The page's VideoObject, or null.
function videoObject(page) {
    var texts = linkedData(page);
    var nameless = null;
    for (var i = 0; i < texts.length; i += 1) {
        var found = findVideoObject(parseJson(texts[i]));
        if (found && found.contentUrl)
            return found;
        nameless = nameless || found;
    }
    return nameless;
}
