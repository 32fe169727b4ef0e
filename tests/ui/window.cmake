reelkeeper_test(tst_window SOURCES tst_window.cpp modaldriver.cpp LINK reelkeeper_ui)
# The window wants the output profiles beside its program, and one test takes them away.
set_target_properties(tst_window PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests/window)
target_compile_definitions(tst_window PRIVATE
    PROFILES="${PROJECT_SOURCE_DIR}/conversion/Profiles.xml")
