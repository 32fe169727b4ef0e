// Videos that linked data names in several sizes, told by the ends of the files' names.

var wordpressWidths = { hd: 1280, dvd: 640, std: 400 };

function wordpressWidth(address) {
    var size = /_(hd|dvd|std)\.[a-z0-9]+$/i.exec(fileName(address));
    return size ? wordpressWidths[size[1].toLowerCase()] : 0;
}

function readWordpress(page) {
    var object = videoObject(page);
    var files = object ? listOf(object.contentUrl) : [];
    var known = false;
    for (var i = 0; i < files.length; i += 1)
        known = known || wordpressWidth(plain(files[i])) > 0;
    if (!known)
        return null;
    var found = { streams: [], seconds: duration(object.duration), playlist: false };
    // The size that is told is the original's.
    var original = { width: pixels(object.width), height: pixels(object.height) };
    var shape = original.width && original.height ? original : { width: 16, height: 9 };
    addStream(found, page, meta(page, "og:video"), "", original);
    for (i = 0; i < files.length; i += 1) {
        var width = wordpressWidth(plain(files[i]));
        addStream(found, page, plain(files[i]), "", !width ? original : {
            width: width,
            height: inRatio(width, shape.height, shape.width)
        });
    }
    found.streams = arrange(found.streams);
    addDetails(found, page, object);
    found.error = "no player";
    return found;
}
