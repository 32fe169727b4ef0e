reelkeeper_test(tst_lists SOURCES tst_lists.cpp modaldriver.cpp LINK reelkeeper_ui)
reelkeeper_test(tst_listspaint SOURCES tst_listspaint.cpp LINK reelkeeper_ui)
