# Install rules: the plug-in, the host interface, the host platform stand-in, the
# programs, man pages and the licence, plus the CMake and pkg-config packages. Every
# installed path is relative to the prefix, so an install can be moved as a whole.
#
# Components, one per Debian package:
#   runtime  the plug-in and the host platform library
#   dev      headers, CMake package, pkg-config files, the libraries' link names
#   tools    the C++ programs and their man pages
#   plot     quil-plot (Python and matplotlib) and its man page
# The licence goes to every package (as the Debian copyright file) and, once more, to
# the plain install's documentation directory.
include(CMakePackageConfigHelpers)

set(QUIL_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/QuilMotion)
set(QUIL_PKGCONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
set(QUIL_INCLUDE_SUBDIR ${CMAKE_INSTALL_INCLUDEDIR}/quil_motion)
set(QUIL_PLUGIN_SONAME libquil_motion.so.${PROJECT_VERSION_MAJOR})

# --- libraries and headers --------------------------------------------------------
install(TARGETS quil_motion
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev)
install(TARGETS quil_platform_host quil_motion_headers EXPORT QuilMotionTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
# A Linux-platform plug-in needs its platform library beside it.
if(TARGET quil_platform_linux)
  set_target_properties(quil_platform_linux PROPERTIES VERSION ${PROJECT_VERSION}
                        SOVERSION ${PROJECT_VERSION_MAJOR})
  install(TARGETS quil_platform_linux LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
          COMPONENT runtime NAMELINK_COMPONENT dev)
endif()
install(FILES ${QUIL_HOST_HEADERS} ${PROJECT_SOURCE_DIR}/platform/host/host_platform.h
        DESTINATION ${QUIL_INCLUDE_SUBDIR} COMPONENT dev)

# --- CMake package ----------------------------------------------------------------
install(EXPORT QuilMotionTargets NAMESPACE QuilMotion:: DESTINATION ${QUIL_CMAKE_DIR}
        COMPONENT dev)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/QuilMotionConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/package/QuilMotionConfig.cmake
                              INSTALL_DESTINATION ${QUIL_CMAKE_DIR}
                              PATH_VARS CMAKE_INSTALL_LIBDIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/QuilMotionConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/package/QuilMotionConfig.cmake
              ${PROJECT_BINARY_DIR}/package/QuilMotionConfigVersion.cmake
        DESTINATION ${QUIL_CMAKE_DIR} COMPONENT dev)

# --- pkg-config -------------------------------------------------------------------
# The prefix is found from the .pc file's own place, which keeps an install
# relocatable; a Debian package names it plainly, so that pkg-config prints /usr paths.
if(QUIL_DEBIAN_PACKAGE)
  set(QUIL_PC_PREFIX ${CMAKE_INSTALL_PREFIX})
else()
  file(RELATIVE_PATH QUIL_PC_TO_PREFIX /${QUIL_PKGCONFIG_DIR} /)
  string(REGEX REPLACE "/$" "" QUIL_PC_TO_PREFIX "${QUIL_PC_TO_PREFIX}")
  set(QUIL_PC_PREFIX "\${pcfiledir}/${QUIL_PC_TO_PREFIX}")
endif()
list(TRANSFORM CMAKE_DL_LIBS PREPEND "-l" OUTPUT_VARIABLE QUIL_PC_DL_LIBS)
list(JOIN QUIL_PC_DL_LIBS " " QUIL_PC_DL_LIBS)
foreach(pc quil-motion quil-motion-host)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${pc}.pc.in ${PROJECT_BINARY_DIR}/package/${pc}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/package/${pc}.pc DESTINATION ${QUIL_PKGCONFIG_DIR} COMPONENT dev)
endforeach()

# --- programs ---------------------------------------------------------------------
# Installed programs find the platform library, and quil-replay the plug-in by its
# SONAME, in the library directory relative to their own.
file(RELATIVE_PATH QUIL_BIN_TO_LIB /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
set(QUIL_TOOL_TARGETS quil-replay)
foreach(tool quil-import quil-live)
  if(TARGET ${tool})
    list(APPEND QUIL_TOOL_TARGETS ${tool})
  endif()
endforeach()
set_target_properties(${QUIL_TOOL_TARGETS} PROPERTIES INSTALL_RPATH "$ORIGIN/${QUIL_BIN_TO_LIB}")
install(TARGETS ${QUIL_TOOL_TARGETS} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)

set(QUIL_PLOT_SCRIPT ${PROJECT_SOURCE_DIR}/tools/quil_plot/quil-plot)
if(EXISTS ${QUIL_PLOT_SCRIPT})
  # The script finds its package beside its real path, so both go to one data
  # directory and the program directory gets a relative link.
  set(QUIL_PLOT_DIR ${CMAKE_INSTALL_DATADIR}/quil-motion)
  file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/install-links)
  install(PROGRAMS ${QUIL_PLOT_SCRIPT} DESTINATION ${QUIL_PLOT_DIR} COMPONENT plot)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/tools/quil_plot/quil_plot DESTINATION ${QUIL_PLOT_DIR}
          COMPONENT plot PATTERN __pycache__ EXCLUDE)
  # Away from the sources it cannot read the version from CMakeLists.txt: it is written in.
  file(WRITE ${CMAKE_BINARY_DIR}/install-links/_version.py "VERSION = \"${PROJECT_VERSION}\"\n")
  install(FILES ${CMAKE_BINARY_DIR}/install-links/_version.py
          DESTINATION ${QUIL_PLOT_DIR}/quil_plot COMPONENT plot)
  file(RELATIVE_PATH QUIL_BIN_TO_PLOT /${CMAKE_INSTALL_BINDIR} /${QUIL_PLOT_DIR}/quil-plot)
  file(CREATE_LINK ${QUIL_BIN_TO_PLOT} ${CMAKE_BINARY_DIR}/install-links/quil-plot SYMBOLIC)
  install(FILES ${CMAKE_BINARY_DIR}/install-links/quil-plot DESTINATION ${CMAKE_INSTALL_BINDIR}
          COMPONENT plot)
endif()

# --- man pages --------------------------------------------------------------------
# One scdoc page per program, docs/man/<name>.<section>.scd; adding a page is adding a file.
find_program(SCDOC scdoc)
find_program(GZIP gzip REQUIRED)
file(GLOB QUIL_MAN_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/man/*.scd)
set(QUIL_MAN_PAGES)
if(SCDOC)
  foreach(source ${QUIL_MAN_SOURCES})
    get_filename_component(page ${source} NAME_WLE)  # quil-replay.1
    # A program's page only where the program is built (quil-live, quil-motiond and
    # quil-watch: Linux builds).
    string(REGEX REPLACE "\\.[0-9]$" "" program ${page})
    if(program MATCHES "^quil-(live|motiond|watch)$" AND NOT TARGET ${program})
      continue()
    endif()
    string(REGEX MATCH "[0-9]$" section ${page})
    set(out ${PROJECT_BINARY_DIR}/man/${page}.gz)
    # gzip -n: no name or time stamp, so the page is the same from build to build.
    add_custom_command(OUTPUT ${out}
                       COMMAND ${SCDOC} < ${source} > ${PROJECT_BINARY_DIR}/man/${page}
                       COMMAND ${GZIP} -9nf ${PROJECT_BINARY_DIR}/man/${page}
                       DEPENDS ${source} VERBATIM)
    list(APPEND QUIL_MAN_PAGES ${out})
    set(component tools)
    if(program STREQUAL "quil-plot")
      set(component plot)
    elseif(program MATCHES "^quil-(motiond|watch)$")
      set(component service)
    endif()
    install(FILES ${out} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT ${component})
  endforeach()
  file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/man)
  add_custom_target(quil_man_pages ALL DEPENDS ${QUIL_MAN_PAGES})
elseif(QUIL_MAN_SOURCES)
  message(WARNING "scdoc not found: man pages are not built or installed (scripts/setup.sh installs it)")
endif()

# --- licence and package documentation ----------------------------------------------
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT licence)
set(QUIL_CHANGELOG ${PROJECT_BINARY_DIR}/package/changelog.gz)
add_custom_command(OUTPUT ${QUIL_CHANGELOG}
                   COMMAND ${GZIP} -9nc ${PROJECT_SOURCE_DIR}/docs/changelog > ${QUIL_CHANGELOG}
                   DEPENDS ${PROJECT_SOURCE_DIR}/docs/changelog VERBATIM)
add_custom_target(quil_changelog ALL DEPENDS ${QUIL_CHANGELOG})
# Only when a component is installed on its own, as the package generator does.
foreach(component_package runtime:libquil-motion0 dev:libquil-motion-dev tools:quil-motion-tools
                          plot:quil-motion-plot)
  string(REPLACE ":" ";" pair ${component_package})
  list(GET pair 0 component)
  list(GET pair 1 package)
  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package}
          RENAME copyright COMPONENT ${component} EXCLUDE_FROM_ALL)
  install(FILES ${QUIL_CHANGELOG} DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package}
          COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()

# quil-motiond and quil-watch, where they are built.
if(TARGET quil-motiond)
  include(${PROJECT_SOURCE_DIR}/cmake/service_install.cmake)
endif()
