# What every target is built with. Each folder is one library whose include path is itself and what
# it links, so a header of a folder above it cannot be included by accident.
add_library(reelkeeper_settings INTERFACE)
target_compile_options(reelkeeper_settings INTERFACE -Wall -Wextra)
if(REELKEEPER_WERROR)
    target_compile_options(reelkeeper_settings INTERFACE -Werror)
endif()
if(REELKEEPER_SANITIZE)
    target_compile_options(reelkeeper_settings INTERFACE
        -fsanitize=${REELKEEPER_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(reelkeeper_settings INTERFACE -fsanitize=${REELKEEPER_SANITIZE})
endif()
target_compile_definitions(reelkeeper_settings INTERFACE
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_URL_CAST_FROM_STRING
    QT_NO_FOREACH
    QT_NO_NARROWING_CONVERSIONS_IN_CONNECT)

# reelkeeper_library(name SOURCES... LINK libraries...)
function(reelkeeper_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    target_include_directories(${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(${name} PUBLIC ${ARG_LINK} reelkeeper_settings)
endfunction()

# reelkeeper_beside(target file): the file lies beside the program, which looks for it there.
function(reelkeeper_beside target file)
    cmake_path(GET file FILENAME name)
    set(copy ${CMAKE_BINARY_DIR}/bin/${name})
    add_custom_command(OUTPUT ${copy}
        COMMAND ${CMAKE_COMMAND} -E copy ${file} ${copy}
        DEPENDS ${file}
        VERBATIM)
    add_custom_target(${target} ALL DEPENDS ${copy})
endfunction()
