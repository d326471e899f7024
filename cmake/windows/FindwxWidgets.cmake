# The toolkit that script/windows-toolkit built, in the folder VNXTEST_WINDOWS_TOOLKIT.
if(NOT VNXTEST_WINDOWS_TOOLKIT)
  message(FATAL_ERROR "VNXTEST_WINDOWS_TOOLKIT is not set: script/windows configures this tree")
endif()
find_package(wxWidgets CONFIG REQUIRED COMPONENTS ${wxWidgets_FIND_COMPONENTS}
             PATHS ${VNXTEST_WINDOWS_TOOLKIT} NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
# As in the build of the libraries.
set(wxWidgets_DEFINITIONS wxDEBUG_LEVEL=0)
