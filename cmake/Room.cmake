# One folder under src/ is one target. A room names its sources and the rooms it stands on;
# everything else (warnings, sanitizers, include path, PIC) is the same for all of them.

add_library(vnxtest_options INTERFACE)
target_include_directories(vnxtest_options INTERFACE ${PROJECT_SOURCE_DIR}/src ${PROJECT_BINARY_DIR}/generated)
target_compile_features(vnxtest_options INTERFACE cxx_std_20)
target_compile_options(vnxtest_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual
  -Wcast-align -Wformat=2 -Wimplicit-fallthrough)
# 1 for code that must allow for a sanitizer's own thread and files, else 0. By a condition, since a
# generator expression would split the list of sanitizers at its comma.
set(VNXTEST_SANITIZED 0)
if(VNXTEST_SANITIZE)
  set(VNXTEST_SANITIZED 1)
  target_compile_options(vnxtest_options INTERFACE
    -fsanitize=${VNXTEST_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  # A sanitizer's instrumentation misleads the compiler's flow analysis (gcc's manual says so).
  target_compile_options(vnxtest_options INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  target_link_options(vnxtest_options INTERFACE -fsanitize=${VNXTEST_SANITIZE})
endif()
target_link_libraries(vnxtest_options INTERFACE Threads::Threads)
if(WIN32)
  target_compile_definitions(vnxtest_options INTERFACE
    UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0A00 __USE_MINGW_ANSI_STDIO=1)
  # The cross compiler warns of members that a designated initializer leaves out.
  target_compile_options(vnxtest_options INTERFACE -Wno-missing-field-initializers)
  include(${CMAKE_CURRENT_LIST_DIR}/windows/Resources.cmake)
endif()

# The rooms of src/rooms, from the ground floor up; those of the window only if it is built, that of the
# Linux kernel's tables only on Linux.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/rooms)
file(STRINGS ${PROJECT_SOURCE_DIR}/src/rooms VNXTEST_ROOMS REGEX "^[a-z]")
string(REPLACE " " ";" VNXTEST_ROOMS "${VNXTEST_ROOMS}")
if(WIN32)
  list(REMOVE_ITEM VNXTEST_ROOMS netlink)
endif()
if(NOT VNXTEST_WINDOW)
  list(REMOVE_ITEM VNXTEST_ROOMS widgets helpui ui)
endif()

# vnxtest_room(<folder> SOURCES <file>... [LINUX <file>...] [WINDOWS <file>...] [DEPENDS <target>...])
function(vnxtest_room name)
  cmake_parse_arguments(ROOM "" "" "SOURCES;LINUX;WINDOWS;DEPENDS" ${ARGN})
  if(WIN32)
    list(APPEND ROOM_SOURCES ${ROOM_WINDOWS})
  else()
    list(APPEND ROOM_SOURCES ${ROOM_LINUX})
  endif()
  add_library(${name} STATIC ${ROOM_SOURCES})
  set_target_properties(${name} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  target_link_libraries(${name} PUBLIC vnxtest_options ${ROOM_DEPENDS})
  vnxtest_precompile(${name})
endfunction()

# vnxtest_tests(<room> SOURCES <file>... [DEPENDS <target>...]): the room's unit tests, one program.
function(vnxtest_tests room)
  cmake_parse_arguments(TEST "" "" "SOURCES;DEPENDS" ${ARGN})
  add_executable(test_${room} ${TEST_SOURCES})
  target_include_directories(test_${room} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(test_${room} PRIVATE ${room} ${TEST_DEPENDS} GTest::gtest_main GTest::gmock)
  if(NOT room MATCHES "^(widgets|helpui|ui)$")
    vnxtest_precompile_tests(test_${room})
  endif()
  if(CMAKE_CROSSCOMPILING)
    # Starting a program is slow under Wine: one start a room.
    add_test(NAME unit.${room} COMMAND test_${room})
    set_tests_properties(unit.${room} PROPERTIES TIMEOUT 600)
  else()
    gtest_discover_tests(test_${room} TEST_PREFIX "${room}." PROPERTIES TIMEOUT 120)
  endif()
endfunction()
