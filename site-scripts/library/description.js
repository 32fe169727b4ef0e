video ? video.description : "";
