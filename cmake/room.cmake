# room(NAME [PORTABLE files...] [WINDOWS files...] [LINK rooms...])
# A room of src/ as a static library: PORTABLE files are built on both systems, WINDOWS files for Windows alone.
# LINK names the rooms below this one that it uses. A room without files for a system is an interface library.
function(room name)
  cmake_parse_arguments(ARG "" "" "PORTABLE;WINDOWS;LINK" ${ARGN})
  set(files ${ARG_PORTABLE})
  if(WIN32)
    list(APPEND files ${ARG_WINDOWS})
  endif()
  if(files)
    add_library(${name} STATIC ${files})
    target_link_libraries(${name} PUBLIC ${ARG_LINK} PRIVATE vfl_options vfl_no_globals)
  else()
    add_library(${name} INTERFACE)
    target_link_libraries(${name} INTERFACE ${ARG_LINK})
  endif()
endfunction()

# program(NAME): a program of the product, at the top of the build folder. Its symbols go to a file beside it that
# debuggers find by its name and checksum.
function(program name)
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
  add_custom_command(TARGET ${name} POST_BUILD WORKING_DIRECTORY ${CMAKE_BINARY_DIR}
    COMMAND ${CMAKE_OBJCOPY} --preserve-dates --only-keep-debug ${name}.exe ${name}.exe.debug
    COMMAND ${CMAKE_OBJCOPY} --preserve-dates --strip-all --add-gnu-debuglink=${name}.exe.debug ${name}.exe
    BYPRODUCTS ${CMAKE_BINARY_DIR}/${name}.exe.debug VERBATIM)
endfunction()
