video ? video.keywords : "";
