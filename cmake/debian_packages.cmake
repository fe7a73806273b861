# Debian packages, one per install component (see install_rules.cmake):
#   libquil-motion0     the plug-in and the host platform library
#   libquil-motion-dev  what hosts build against
#   quil-motion-tools   the programs
# scripts/package.sh runs the generator on an existing build.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quil-motion)
set(CPACK_PACKAGE_VENDOR "The Quil Motion developers")
set(CPACK_PACKAGE_CONTACT "The Quil Motion developers <quil-motion@lists.invalid>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_STRIP_FILES ON)
# Each package's description starts with its own synopsis line; no common one in front.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime dev tools)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Our own libraries are found in the build; the dependency on the package that ships
# them comes from the component dependencies below.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libquil-motion0)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# The library package ships a shlibs file (only it holds shared objects) and an
# ldconfig trigger.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
    "motion and touch gesture recognition plug-in
Quil Motion turns accelerometer, proximity and ambient light samples and
touch screen events into motion reports: pick-up, near-ear, flip, rotation,
shake and pocket detection, one-finger edge swipes, two-finger pinches and
three-finger slides.
.
This package holds the plug-in a host service loads with dlopen, and the
host platform library that stands in for the device's sensor and input
services on a development machine.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libquil-motion-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEV_DEPENDS runtime)
set(CPACK_COMPONENT_DEV_DESCRIPTION
    "motion and touch gesture recognition plug-in - development files
Quil Motion turns sensor samples and touch screen events into motion
reports for a host service that loads it as a plug-in.
.
This package holds the host interface headers, the control header of the
host platform library, a CMake package (find_package(QuilMotion)) and
pkg-config files (quil-motion, quil-motion-host).")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME quil-motion-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_COMPONENT_TOOLS_DEPENDS runtime)
if(EXISTS ${QUIL_PLOT_SCRIPT})
  set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "python3, python3-matplotlib")
endif()
set(QUIL_TOOLS_TEXT "quil-replay plays a text trace of host calls, sensor samples and touch
events through the plug-in and prints the reports a host receives.")
if(TARGET quil-import)
  string(APPEND QUIL_TOOLS_TEXT "\nquil-import turns recordings made elsewhere into such traces.")
endif()
if(EXISTS ${QUIL_PLOT_SCRIPT})
  string(APPEND QUIL_TOOLS_TEXT "\nquil-plot draws a trace's samples and the reports it gives.")
endif()
if(TARGET quil-live)
  string(APPEND QUIL_TOOLS_TEXT "\nquil-live runs the plug-in on a live device's input.")
endif()
set(CPACK_COMPONENT_TOOLS_DESCRIPTION
    "motion and touch gesture recognition plug-in - tools
Quil Motion turns sensor samples and touch screen events into motion
reports for a host service that loads it as a plug-in.
.
This package holds the programs that work with it.
${QUIL_TOOLS_TEXT}")

include(CPack)
