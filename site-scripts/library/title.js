video ? video.title : "";
