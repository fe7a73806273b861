# Install rules of quil-motiond and quil-watch (Linux-platform builds): component
# `service`, the quil-motiond Debian package.
#
# The service hosts the plug-in built for the Linux layer. That plug-in has the same
# SONAME as the host-platform one that libquil-motion0 puts in the library directory, so
# it goes, with the Linux layer, to a directory of the service's own: nothing else
# loads it, and the two packages install side by side.
set(QUIL_SERVICE_LIBDIR ${CMAKE_INSTALL_LIBDIR}/quil-motiond)
install(TARGETS quil_motion quil_platform_linux LIBRARY DESTINATION ${QUIL_SERVICE_LIBDIR}
        COMPONENT service NAMELINK_SKIP)
file(RELATIVE_PATH QUIL_SBIN_TO_SERVICE_LIB /${CMAKE_INSTALL_SBINDIR} /${QUIL_SERVICE_LIBDIR})
# The plug-in is found by its SONAME through the program's run path, before the library
# directory.
set_target_properties(quil-motiond PROPERTIES INSTALL_RPATH "$ORIGIN/${QUIL_SBIN_TO_SERVICE_LIB}")
install(TARGETS quil-motiond RUNTIME DESTINATION ${CMAKE_INSTALL_SBINDIR} COMPONENT service)
install(TARGETS quil-watch RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT service)

# The system's side: unit, bus policy, activation, udev rule, sysusers, interface.
set(QUIL_SERVICE_SYSTEM ${PROJECT_SOURCE_DIR}/tools/quil_motiond/system)
set(QUIL_SBINDIR ${CMAKE_INSTALL_FULL_SBINDIR})
foreach(file quil-motiond.service org.quilmotion.Motion1.service)
  configure_file(${QUIL_SERVICE_SYSTEM}/${file}.in ${PROJECT_BINARY_DIR}/service/${file} @ONLY)
endforeach()
install(FILES ${PROJECT_BINARY_DIR}/service/quil-motiond.service DESTINATION lib/systemd/system
        COMPONENT service)
install(FILES ${PROJECT_BINARY_DIR}/service/org.quilmotion.Motion1.service
        DESTINATION ${CMAKE_INSTALL_DATADIR}/dbus-1/system-services COMPONENT service)
install(FILES ${QUIL_SERVICE_SYSTEM}/org.quilmotion.Motion1.conf
        DESTINATION ${CMAKE_INSTALL_DATADIR}/dbus-1/system.d COMPONENT service)
install(FILES ${QUIL_SERVICE_SYSTEM}/org.quilmotion.Motion1.xml
        DESTINATION ${CMAKE_INSTALL_DATADIR}/dbus-1/interfaces COMPONENT service)
install(FILES ${QUIL_SERVICE_SYSTEM}/70-quil-motiond.rules DESTINATION lib/udev/rules.d
        COMPONENT service)
install(FILES ${QUIL_SERVICE_SYSTEM}/quil-motiond.sysusers DESTINATION lib/sysusers.d
        RENAME quil-motiond.conf COMPONENT service)
# The example client, and a trace to try the service with (quil-motiond --replay).
install(PROGRAMS ${PROJECT_SOURCE_DIR}/examples/service/motion_client.py
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/quil-motiond/examples COMPONENT service)
install(FILES ${PROJECT_SOURCE_DIR}/examples/flip.trace
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/quil-motiond/examples COMPONENT service)

# The package's copyright and changelog, as for the others.
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/quil-motiond
        RENAME copyright COMPONENT service EXCLUDE_FROM_ALL)
install(FILES ${QUIL_CHANGELOG} DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/quil-motiond
        COMPONENT service EXCLUDE_FROM_ALL)
