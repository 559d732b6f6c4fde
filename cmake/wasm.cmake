# For the module that browsers and Node run: Debian's emscripten.
find_program(KORA_EMCC emcc REQUIRED)
file(REAL_PATH ${KORA_EMCC} emcc)
cmake_path(GET emcc PARENT_PATH emscripten)
# Debian keeps the compiler's own JavaScript packages here.
set(ENV{NODE_PATH} /usr/share/nodejs)
set(KORA_TOOLKIT OFF CACHE BOOL "")
set(KORA_TESTS OFF CACHE BOOL "")
set(KORA_JAVA OFF CACHE BOOL "")
include(${emscripten}/cmake/Modules/Platform/Emscripten.cmake)
