# Debian's header-only libraries for the cross compiler. They lie among the headers of the build machine,
# which the cross compiler must not see: each gets a folder with a link to it alone.
#
# header_only(<target> <folder of the library below the system's include folder>)
function(header_only target folder)
  set(view ${CMAKE_BINARY_DIR}/headers/${folder})
  if(NOT EXISTS /usr/include/${folder})
    message(FATAL_ERROR "/usr/include/${folder} is missing: script/bootstrap windows")
  endif()
  file(MAKE_DIRECTORY ${view})
  file(CREATE_LINK /usr/include/${folder} ${view}/${folder} SYMBOLIC)
  if(NOT TARGET ${target})
    add_library(${target} INTERFACE IMPORTED GLOBAL)
    target_include_directories(${target} SYSTEM INTERFACE ${view})
  endif()
endfunction()
