# The packages (cpack -G DEB): the components of the installation as packages of the same names. The prefix is /usr,
# the flags are the distribution's (script/package sets both). With SOURCE_DATE_EPOCH the packages are the same byte for
# byte wherever they are built.
set(mail ${VNXTEST_SUPPORT_MAIL})
if(NOT mail)
  set(mail support@corvane.example)
endif()
set(VNXTEST_PACKAGE_SUFFIX "" CACHE STRING "What a package's version ends with, such as +deb13")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vnxtest)
set(CPACK_PACKAGE_VENDOR ${VNXTEST_COMPANY})
set(CPACK_PACKAGE_CONTACT "${VNXTEST_COMPANY} <${mail}>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION}${VNXTEST_PACKAGE_SUFFIX})
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL vnxtest-cli)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/debian/stage.cmake)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
if(VNXTEST_PRODUCT_PAGE)
  set(CPACK_DEBIAN_PACKAGE_HOMEPAGE ${VNXTEST_PRODUCT_PAGE})
endif()

set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(about "VNXTest stands in for the network side of a mainframe emulator's guest: it
opens one or two virtual network interfaces, answers ARP, RARP and ping as the
guest, and pings from the guest. It shows whether the interface library and
the network work before a real guest is started.
")
set(scripts ${CMAKE_CURRENT_LIST_DIR}/debian/vnxtest-cli)
set(CPACK_DEBIAN_VNXTEST-CLI_PACKAGE_NAME vnxtest-cli)
set(CPACK_DEBIAN_VNXTEST-CLI_PACKAGE_DEPENDS "adduser, debconf (>= 0.5) | debconf-2.0, libcap2-bin")
set(CPACK_DEBIAN_VNXTEST-CLI_PACKAGE_CONTROL_EXTRA
    ${scripts}/config ${scripts}/postinst ${scripts}/postrm ${scripts}/templates)
set(CPACK_DEBIAN_VNXTEST-CLI_DESCRIPTION "test the virtual network interfaces of a guest (terminal)
${about}
This package has the terminal program, and the helper that opens adapters for
it and for the window (package vnxtest).")

if(VNXTEST_WINDOW)
  list(APPEND CPACK_COMPONENTS_ALL vnxtest)
  set(CPACK_DEBIAN_VNXTEST_PACKAGE_NAME vnxtest)
  set(CPACK_DEBIAN_VNXTEST_PACKAGE_DEPENDS "vnxtest-cli (= ${CPACK_PACKAGE_VERSION})")
  set(CPACK_DEBIAN_VNXTEST_DESCRIPTION "test the virtual network interfaces of a guest (window)
${about}
This package has the window, with charts and a help book.")
endif()
include(CPack)
