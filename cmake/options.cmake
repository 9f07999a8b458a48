# What every target of the tree is compiled with: vfl_options for all code, vfl_no_globals on top for the code
# under src/, where no file but host/process_objects.cpp may have a dynamic initialiser.
add_library(vfl_options INTERFACE)
target_include_directories(vfl_options INTERFACE ${PROJECT_SOURCE_DIR}/src)
target_compile_options(vfl_options INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)

# The headers that drivers and service libraries share with the product. The kit has them under the same name.
add_library(vfl_contracts INTERFACE)
add_library(vfl::contracts ALIAS vfl_contracts)
target_include_directories(vfl_contracts INTERFACE ${PROJECT_SOURCE_DIR}/src)

add_library(vfl_no_globals INTERFACE)
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  target_compile_options(vfl_no_globals INTERFACE
    $<$<COMPILE_LANGUAGE:CXX>:-Wglobal-constructors> $<$<COMPILE_LANGUAGE:CXX>:-Wexit-time-destructors>)
endif()

if(WIN32)
  # Windows 7 is the oldest system that the product runs on.
  target_compile_definitions(vfl_options INTERFACE
    UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0601 WINVER=0x0601)
  # The same bytes from every folder, and lines for whoever reads a crash; the symbols are split off. The compiler
  # cache makes paths relative to the build folder.
  target_compile_options(vfl_options INTERFACE
    $<$<COMPILE_LANGUAGE:C,CXX>:-g1 -ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -ffile-prefix-map=../..=.>)
  target_link_options(vfl_options INTERFACE -Wl,--no-insert-timestamp)
  # mingw's own printf only makes the static runtime larger.
  target_compile_definitions(vfl_options INTERFACE __USE_MINGW_ANSI_STDIO=0)
  target_link_options(vfl_options INTERFACE
    -static -Wl,--major-subsystem-version,6,--minor-subsystem-version,1,--dynamicbase,--nxcompat,--high-entropy-va)
  if(VFL_CHECKED)
    target_compile_definitions(vfl_options INTERFACE _GLIBCXX_ASSERTIONS _GLIBCXX_DEBUG)
    # With the sanitizer's branches in the way GCC 12 sees array bounds passed where they are not; the sanitizer
    # itself checks them, and the release build has the warning.
    target_compile_options(vfl_options INTERFACE
      -fsanitize=undefined -fsanitize-undefined-trap-on-error -Wno-array-bounds)
  else()
    target_compile_options(vfl_options INTERFACE -fstack-protector-strong)
    target_link_options(vfl_options INTERFACE -fstack-protector-strong)
  endif()
else()
  find_package(Threads REQUIRED)
  target_link_libraries(vfl_options INTERFACE Threads::Threads)
  if(VFL_SANITIZE)
    target_compile_options(vfl_options INTERFACE
      -fsanitize=${VFL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(vfl_options INTERFACE -fsanitize=${VFL_SANITIZE})
  endif()
endif()
