# Headers that many sources stand on and that take longer to read than the source itself, compiled once for all of
# them. This saves time and nothing else: the presets asan, fuzz and windows do without
# (CMAKE_DISABLE_PRECOMPILE_HEADERS), and so prove that each source includes what it uses.
#
# Who shares one must be compiled alike; -Winvalid-pch, which CMake sets, says where that is not so.

# Tells the compiler cache what it needs to know: what was read by way of such a header.
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND NOT CMAKE_DISABLE_PRECOMPILE_HEADERS)
  target_compile_options(vnxtest_options INTERFACE -fpch-preprocess)
endif()

# vnxtest_precompile(<room>): the sources of a room of the engine share the standard library's, those of a room of the
# window the toolkit's.
function(vnxtest_precompile room)
  if(room STREQUAL wrenlib)
    target_precompile_headers(wrenlib PRIVATE
      <algorithm> <array> <atomic> <chrono> <condition_variable> <cstdint> <cstring> <filesystem> <functional> <memory>
      <mutex> <optional> <span> <string> <string_view> <system_error> <thread> <utility> <vector> <fmt/format.h>)
  elseif(room STREQUAL widgets)
    target_precompile_headers(widgets PRIVATE <wx/wx.h>)
  elseif(room MATCHES "^(helpui|ui)$")
    target_precompile_headers(${room} REUSE_FROM widgets)
  elseif(room MATCHES "^(vnetx|core|hostnet|settings|ping|guest|cli)$")
    target_precompile_headers(${room} REUSE_FROM wrenlib)
  endif()
endfunction()

# vnxtest_precompile_tests(<program>): the test programs share the headers of the test library. Those that are
# compiled with the toolkit's options have none.
function(vnxtest_precompile_tests program)
  if(NOT TARGET test_precompiled)
    file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/test_precompiled.cpp CONTENT "")
    add_library(test_precompiled OBJECT ${CMAKE_BINARY_DIR}/test_precompiled.cpp)
    target_link_libraries(test_precompiled PRIVATE vnxtest_options fmt::fmt GTest::gtest GTest::gmock)
    target_precompile_headers(test_precompiled PRIVATE <gmock/gmock.h> <gtest/gtest.h>)
  endif()
  target_precompile_headers(${program} REUSE_FROM test_precompiled)
endfunction()
