include(${CMAKE_CURRENT_LIST_DIR}/HeaderOnly.cmake)
header_only(fmt::fmt fmt)
set_target_properties(fmt::fmt PROPERTIES INTERFACE_COMPILE_DEFINITIONS FMT_HEADER_ONLY=1)
set(fmt_FOUND TRUE)
