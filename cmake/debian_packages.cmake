# Debian packages, one per install component (see install_rules.cmake):
#   libquil-motion0     the plug-in and the host platform library
#   libquil-motion-dev  what hosts build against
#   quil-motion-tools   the C++ programs
#   quil-motion-plot    quil-plot, apart so that the tools need no Python
#   quil-motiond        the D-Bus service and its client (from a Linux-platform build)
# scripts/package.sh configures a build for /usr with Debian's hardening flags and runs
# the generator on it. cmake/debian/ explains what lintian still says.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quil-motion)
set(CPACK_PACKAGE_VENDOR "The Quil Motion developers")
set(CPACK_PACKAGE_CONTACT "Quil Motion maintainers <maintainers@quilmotion.org>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_STRIP_FILES ON)
# Each package's description starts with its own synopsis line; no common one in front.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime dev tools plot)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Our own libraries are found in the build; the dependency on the package that ships
# them comes from the component dependencies below.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libquil-motion0)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# The library package ships a shlibs file (only it holds shared objects), a symbols
# file of both libraries' exports and an ldconfig trigger, which makes maintainer
# scripts calling ldconfig unnecessary (scripts/package.sh drops the ones the generator
# writes).
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
if(QUIL_DEBIAN_PACKAGE)
  set(QUIL_SYMBOLS_FILE ${PROJECT_BINARY_DIR}/package/symbols)
  add_custom_command(OUTPUT ${QUIL_SYMBOLS_FILE}
                     COMMAND ${CMAKE_COMMAND} -DOUT=${QUIL_SYMBOLS_FILE} -DVERSION=${PROJECT_VERSION}
                             -DPACKAGE=libquil-motion0 -DDEV_PACKAGE=libquil-motion-dev
                             "-DLIBRARIES=$<TARGET_FILE:quil_motion>;$<TARGET_FILE:quil_platform_host>"
                             -P ${PROJECT_SOURCE_DIR}/cmake/debian/make_symbols.cmake
                     DEPENDS quil_motion quil_platform_host
                             ${PROJECT_SOURCE_DIR}/cmake/debian/make_symbols.cmake VERBATIM)
  add_custom_target(quil_debian_symbols ALL DEPENDS ${QUIL_SYMBOLS_FILE})
  list(APPEND CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${QUIL_SYMBOLS_FILE})
endif()
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
set(QUIL_TOOLS_TEXT "quil-replay plays a text trace of host calls, sensor samples and touch
events through the plug-in and prints the reports a host receives.")
if(TARGET quil-import)
  string(APPEND QUIL_TOOLS_TEXT "\nquil-import turns recordings made elsewhere into such traces.")
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
${QUIL_TOOLS_TEXT}
quil-plot, which draws traces, is in quil-motion-plot.")

set(CPACK_DEBIAN_PLOT_PACKAGE_NAME quil-motion-plot)
set(CPACK_DEBIAN_PLOT_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PLOT_PACKAGE_ARCHITECTURE all)
set(CPACK_COMPONENT_PLOT_DEPENDS tools)
set(CPACK_DEBIAN_PLOT_PACKAGE_DEPENDS "python3, python3-matplotlib")
set(CPACK_COMPONENT_PLOT_DESCRIPTION
    "motion and touch gesture recognition plug-in - trace plots
Quil Motion turns sensor samples and touch screen events into motion
reports for a host service that loads it as a plug-in.
.
This package holds quil-plot, which draws a trace's samples, touches and
host calls on one time axis with every report quil-replay gives for it
(PNG or SVG, no display needed).")

# The service hosts the plug-in built for the Linux layer, so its package comes from a
# Linux-platform build of its own, which scripts/package.sh makes beside the host build
# and which makes this package only. Its libraries are private (a directory of the
# service's own), so they get no shlibs file.
set(CPACK_DEBIAN_SERVICE_PACKAGE_NAME quil-motiond)
set(CPACK_DEBIAN_SERVICE_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_SERVICE_PACKAGE_DEPENDS
    "dbus | dbus-system-bus, acl, systemd | systemd-standalone-sysusers")
set(CPACK_DEBIAN_SERVICE_PACKAGE_SUGGESTS "python3-dbus, python3-gi")
set(QUIL_SERVICE_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/debian/quil-motiond)
set(CPACK_DEBIAN_SERVICE_PACKAGE_CONTROL_EXTRA
    ${QUIL_SERVICE_SCRIPTS}/postinst ${QUIL_SERVICE_SCRIPTS}/prerm ${QUIL_SERVICE_SCRIPTS}/postrm)
set(CPACK_DEBIAN_SERVICE_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_COMPONENT_SERVICE_DESCRIPTION
    "motion and touch gesture recognition service
quil-motiond serves the motions and touch gestures of a Linux phone, tablet
or convertible on the D-Bus system bus, as org.quilmotion.Motion1: programs
claim the types they want (pick-up, near-ear, flip, rotation, shake, pocket,
edge swipes, pinch, three-finger slide) and receive a signal for each
recognition. Sensors are read only while a claim needs them.
.
This package holds the service with its systemd unit, D-Bus policy,
activation file, udev rule and interface description, and quil-watch, which
prints the motions or runs a command on them (flip to mute).")
if(QUIL_PLATFORM STREQUAL "linux")
  set(CPACK_COMPONENTS_ALL service)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS OFF)
endif()

include(CPack)
