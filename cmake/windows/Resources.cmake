# The resources of a program or a library: version, icon, and the manifest with the rights it asks for, its
# common controls and its DPI awareness.
#
# vnxtest_resources(<target> DESCRIPTION <text> [RIGHTS asInvoker|requireAdministrator] [TOOLKIT])
#   RIGHTS: a program; without it no icon and no manifest. TOOLKIT: with the toolkit's own cursors.
enable_language(RC)

# The programs' descriptions, shown in the properties of their files.
set(VNXTEST_WINDOWS_DESCRIPTION "Vnetx for Windows Testing Program")

function(vnxtest_resources target)
  cmake_parse_arguments(ARG "TOOLKIT" "DESCRIPTION;RIGHTS" "" ${ARGN})
  get_target_property(resource_name ${target} OUTPUT_NAME)
  if(NOT resource_name)
    set(resource_name ${target})
  endif()
  set(resource_description ${ARG_DESCRIPTION})
  string(REPLACE "." "," resource_numbers ${PROJECT_VERSION})
  set(resource_special_build "$<IF:$<CONFIG:Debug>,Debug build,Release build>")
  set(resource_toolkit 0)
  set(resource_icon 0)
  set(resource_has_manifest 0)
  set(resource_file ${resource_name}.dll)
  set(resource_type VFT_DLL)
  set(folder ${CMAKE_CURRENT_BINARY_DIR}/resources/${target})
  set(resource_manifest ${folder}.manifest)
  if(ARG_RIGHTS)
    set(resource_icon 1)
    set(resource_has_manifest 1)
    set(resource_rights ${ARG_RIGHTS})
    set(resource_file ${resource_name}.exe)
    set(resource_type VFT_APP)
    configure_file(${PROJECT_SOURCE_DIR}/packaging/windows/program.manifest.in ${resource_manifest} @ONLY)
  endif()
  if(ARG_TOOLKIT)
    set(resource_toolkit 1)
  endif()
  configure_file(${PROJECT_SOURCE_DIR}/packaging/windows/program.rc.in ${folder}.rc.in @ONLY)
  file(GENERATE OUTPUT ${folder}.rc INPUT ${folder}.rc.in)
  set_source_files_properties(${folder}.rc PROPERTIES GENERATED TRUE OBJECT_DEPENDS
    "${PROJECT_SOURCE_DIR}/packaging/icon/vnxtest.ico;${PROJECT_SOURCE_DIR}/packaging/windows/program.manifest.in")
  target_sources(${target} PRIVATE ${folder}.rc)
endfunction()
