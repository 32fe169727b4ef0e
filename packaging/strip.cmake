# Run by CPack on what it is about to pack: programs without symbols and compilers' marks.
file(GLOB_RECURSE programs
    ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*/lib/reelkeeper/reelkeeper*
    ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*/lib/reelkeeper/*.exe)
execute_process(
    COMMAND strip --strip-all --remove-section=.comment --remove-section=.note ${programs}
    COMMAND_ERROR_IS_FATAL ANY)
