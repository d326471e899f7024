# The licences of what of others is in the packages, from the list "libraries" beside this file.
#
# vnxtest_third_parties(<windows|linux> <folder> <variable> [INCLUDE <folder>...]): into the folder the licence
# texts of that system's packages, and THIRD-PARTY.txt, which names each library with the version that is built
# with. The variable: the names of these files. INCLUDE: where the libraries' headers lie, besides the usual.
set(VNXTEST_LICENCES ${CMAKE_CURRENT_LIST_DIR})

# Sets version_<library> for all that tell it by their headers.
function(vnxtest_read_versions)
  list(TRANSFORM ARGN PREPEND -I OUTPUT_VARIABLE include)
  execute_process(
    COMMAND ${CMAKE_CXX_COMPILER} -std=c++20 -E -P -x c++ ${include} ${VNXTEST_LICENCES}/versions.in
    OUTPUT_VARIABLE text RESULT_VARIABLE status ERROR_VARIABLE problem)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "The versions of the libraries cannot be read: ${problem}")
  endif()
  string(REGEX MATCHALL "\nversion [^\n]+" lines "\n${text}")
  foreach(line IN LISTS lines)
    string(REGEX MATCH "version ([^ ]+) (.+)" matched "${line}")
    set(name ${CMAKE_MATCH_1})
    string(REGEX REPLACE "[\" ]" "" version "${CMAKE_MATCH_2}")
    if(version MATCHES "^[0-9]+$" AND version GREATER 10000) # major * 10000 + minor * 100 + patch
      math(EXPR major "${version} / 10000")
      math(EXPR minor "${version} / 100 % 100")
      math(EXPR patch "${version} % 100")
      set(version ${major}.${minor}.${patch})
    endif()
    set(version_${name} " ${version}" PARENT_SCOPE)
  endforeach()
endfunction()

function(vnxtest_third_parties system folder files)
  cmake_parse_arguments(ARG "" "" "INCLUDE" ${ARGN})
  vnxtest_read_versions(${ARG_INCLUDE})
  set(line_ends UNIX)
  if(system STREQUAL windows)
    set(line_ends WIN32)
  endif()
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${VNXTEST_LICENCES}/libraries)
  file(STRINGS ${VNXTEST_LICENCES}/libraries rows REGEX "^[a-z]")
  set(text "These libraries are a part of the programs. Their licences are in the files named.\n")
  set(names THIRD-PARTY.txt)
  foreach(row IN LISTS rows)
    string(REPLACE "|" ";" row "${row}")
    list(POP_FRONT row file name systems purpose)
    if(NOT " ${systems} " MATCHES " ${system} ")
      continue()
    endif()
    string(APPEND text "\n${name}${version_${file}} (${file}.txt)\n    ${purpose}\n")
    configure_file(${VNXTEST_LICENCES}/${file}.txt ${folder}/${file}.txt @ONLY NEWLINE_STYLE ${line_ends})
    list(APPEND names ${file}.txt)
  endforeach()
  file(CONFIGURE OUTPUT ${folder}/THIRD-PARTY.txt CONTENT "${text}" @ONLY NEWLINE_STYLE ${line_ends})
  set(${files} ${names} PARENT_SCOPE)
endfunction()
