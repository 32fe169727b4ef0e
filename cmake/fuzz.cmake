# First settings of the build folder in which scripts/fuzz.sh and the sanitized tests of ./test are
# made: one build of the libraries serves both.
set(CMAKE_CXX_COMPILER clang++ CACHE STRING "")
set(CMAKE_BUILD_TYPE Debug CACHE STRING "")
set(CMAKE_CXX_FLAGS_DEBUG "-O1 -g1" CACHE STRING "")
set(REELKEEPER_WERROR ON CACHE BOOL "")
set(REELKEEPER_SANITIZE address,undefined,fuzzer-no-link CACHE STRING "")
set(CMAKE_EXE_LINKER_FLAGS -fuse-ld=lld CACHE STRING "")
# Most of the time would go to reading the toolkit's headers once for each file. The plain build
# does read them so, which is what keeps each file's own includes complete.
set(CMAKE_UNITY_BUILD ON CACHE BOOL "")
