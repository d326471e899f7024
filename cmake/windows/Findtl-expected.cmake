include(${CMAKE_CURRENT_LIST_DIR}/HeaderOnly.cmake)
header_only(tl::expected tl)
set(tl-expected_FOUND TRUE)
