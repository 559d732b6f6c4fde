# Compiler and product settings that hold for every target of the project.

option(KORA_TOOLKIT "Build the kora command and the model building library" ON)
option(KORA_TESTS "Build the tests (needs GoogleTest)" ON)
option(KORA_BENCH "Build the benchmarks (needs Google Benchmark)" OFF)
option(KORA_FUZZ "Build the fuzz targets (replay drivers unless the compiler is clang)" OFF)
option(KORA_JAVA "Build kora.jar when there is a Java compiler" ON)
option(KORA_SHARED "Shared libraries; without, everything is linked into the programs" ON)
option(KORA_SO_NUMBER "A number behind .so, as everywhere but on Android" ON)
option(KORA_PORT "Build the program that script/ports compares machines by, without other tests" OFF)
option(KORA_PACKAGES "Install what Debian packages need besides (preset packages)" OFF)
option(KORA_COVERAGE "Count which lines run, for script/coverage (g++)" OFF)
set(KORA_SANITIZE "" CACHE STRING "Value for -fsanitize=, empty for none")

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)

# Scores are single precision in a written order of operations. Contraction to
# fused multiply-add or x87 excess precision would change their last bits.
add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror -ffp-contract=off)

# The same library wherever and whenever it is built: no path of this machine in messages of
# assertions.
if(CMAKE_BUILD_TYPE STREQUAL Release)
  add_compile_options(-ffile-prefix-map=${CMAKE_BINARY_DIR}=./build
                      -ffile-prefix-map=${PROJECT_SOURCE_DIR}=.)
endif()

# Not CMake's way, which asks for thin files: Debian has no system libraries of emscripten in that form.
if(EMSCRIPTEN)
  add_compile_options(-flto)
  add_link_options(-flto)
endif()

if(KORA_SANITIZE)
  add_compile_options(-fsanitize=${KORA_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${KORA_SANITIZE})
endif()

# Phones with pages of 16 KiB load nothing else.
if(ANDROID)
  add_link_options(-Wl,-z,max-page-size=16384)
endif()

if(NOT KORA_SHARED)
  set_property(GLOBAL PROPERTY TARGET_SUPPORTS_SHARED_LIBS FALSE)
endif()

find_package(Threads REQUIRED)

# kora_count_lines(TARGET): the lines of this library are counted in every program that links it.
function(kora_count_lines target)
  if(KORA_COVERAGE)
    target_compile_options(${target} PRIVATE --coverage -fprofile-update=atomic)
    target_link_options(${target} PUBLIC --coverage)
  endif()
endfunction()

# kora_prefer_counted(PROGRAM): inline functions of the engine's headers are compiled into tests too,
# without counting. Of equal functions the first one is linked, so the engine's objects go first.
function(kora_prefer_counted program)
  if(KORA_COVERAGE)
    foreach(room common decoder numtrans textProcess translator)
      list(APPEND archives $<TARGET_FILE:kora_${room}>)
    endforeach()
    target_link_options(${program} PRIVATE LINKER:--whole-archive ${archives}
                        LINKER:--no-whole-archive)
    target_link_libraries(${program} PRIVATE kora_document)
  endif()
endfunction()

# A program or library run from the build or install tree finds liblexicut.so
# beside itself or in the lib folder next door.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
set(CMAKE_INSTALL_RPATH "$ORIGIN;$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
