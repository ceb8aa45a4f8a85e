# What the packages install (scripts/package.sh builds them).
#
# Windows: `cmake --install <build> --strip` gives the flat program folder
# that packaging/windows/OrvprintD.wxs takes (OrvprintD.exe, LogConfig.conf,
# and setup/orvprint-folders.exe for the Binary table); wixl builds the MSI
# from it.
#
# Linux: the Debian package orvprintd_<version>_amd64.deb (CPack, DEB):
#   /usr/lib/orv-soft/client/OrvprintD        the program (InstallDir, where
#                                             the client tool is looked for)
#   /usr/lib/orv-soft/client/LogConfig.conf   link to /etc/orv-soft/LogConfig.conf
#   /usr/bin/orvprint-send, orvprint-config   the administrators' tools
#   /usr/share/man/man1/                      their manual pages
#   /etc/orv-soft/machine.ini                 the machine registry (conffile)
#   /etc/orv-soft/LogConfig.conf              logging (conffile)
#   /etc/xdg/autostart/OrvprintD.desktop      start at log-on (conffile)
#   /usr/share/doc/orvprintd/                 copyright, changelog
# and the print service (the CUPS backend of the secure queue):
#   /usr/lib/cups/backend/orvprint            the backend, root's, 0700 (so
#                                             that cupsd runs it as root)
#   /usr/share/orvprintd/orvprint-policy.conf the queue's <Policy orvprint>,
#                                             for the administrator to append
#                                             to cupsd.conf (the package does
#                                             not edit CUPS's configuration)
#   /etc/orv-soft/print-service.conf          the service's configuration,
#                                             every key commented (conffile)
#   /usr/share/man/man8/orvprint.8.gz         its manual page
# The maintainer scripts make TempDir (root's, with the machine's Config.ini)
# and DataDir under /var/lib, and the accounting folder
# /var/log/orv-soft/print-service (root's, 0750).

# Programs are built by the build; installing builds nothing more.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY TRUE)

set(ORV_PACKAGING_DIR ${CMAKE_SOURCE_DIR}/packaging)
# The version for scripts/package.sh (the MSI's version).
file(WRITE ${CMAKE_BINARY_DIR}/orv-version.txt "${PROJECT_VERSION}\n")

if(WIN32)
  if(TARGET OrvprintD)
    install(TARGETS OrvprintD RUNTIME DESTINATION .)
    install(FILES ${CMAKE_SOURCE_DIR}/logging/LogConfig.conf DESTINATION .)
  endif()
  # Run by the installer from its Binary table, not installed with it.
  if(TARGET orvprint-folders)
    install(TARGETS orvprint-folders RUNTIME DESTINATION setup)
  endif()
  return()
endif()

if(NOT TARGET OrvprintD OR NOT TARGET orvprint-send OR NOT TARGET orvprint-config)
  return()
endif()
if(NOT TARGET orvprint)
  message(STATUS "No Debian package: the print service's backend is not built (libcups2-dev, libqpdf-dev)")
  return()
endif()

set(ORV_LINUX_INSTALL_DIR lib/orv-soft/client)
set(ORV_LINUX_STAGE ${CMAKE_BINARY_DIR}/packaging)
file(MAKE_DIRECTORY ${ORV_LINUX_STAGE})

# LogConfig.conf: the sample, with each user's log in that user's own state
# folder (~/.local/state/orv-soft/log; OrvprintD gives XDG_STATE_HOME its
# standard value when the session has none).
file(READ ${CMAKE_SOURCE_DIR}/logging/LogConfig.conf orv_log_config)
string(REGEX REPLACE "\nlog4cpp\\.appender\\.orvFile\\.fileName=[^\n]*"
       "\nlog4cpp.appender.orvFile.fileName=\${XDG_STATE_HOME}/orv-soft/log/OrvprintD.log"
       orv_log_config "${orv_log_config}")
file(WRITE ${ORV_LINUX_STAGE}/LogConfig.conf.new "${orv_log_config}")
configure_file(${ORV_LINUX_STAGE}/LogConfig.conf.new ${ORV_LINUX_STAGE}/LogConfig.conf COPYONLY)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/logging/LogConfig.conf)

# The program finds LogConfig.conf in its InstallDir; the file itself is a
# configuration file under /etc.
file(CREATE_LINK /etc/orv-soft/LogConfig.conf ${ORV_LINUX_STAGE}/LogConfig.conf.link SYMBOLIC)

# changelog.gz of a native package, made reproducibly (gzip -9n).
string(TIMESTAMP orv_changelog_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(WRITE ${ORV_LINUX_STAGE}/changelog
     "orvprintd (${PROJECT_VERSION}) stable; urgency=medium\n\n"
     "  * OrvprintD ${PROJECT_VERSION}.\n\n"
     " -- Orv-soft <support@orv-soft.com>  ${orv_changelog_date}\n")
execute_process(COMMAND gzip -9nf ${ORV_LINUX_STAGE}/changelog)
# Manual pages of the tools and of the backend, compressed the same way.
foreach(page orvprint-send.1 orvprint-config.1 orvprint.8)
  configure_file(${ORV_PACKAGING_DIR}/debian/${page} ${ORV_LINUX_STAGE}/${page} COPYONLY)
  execute_process(COMMAND gzip -9nf ${ORV_LINUX_STAGE}/${page})
endforeach()

install(TARGETS OrvprintD RUNTIME DESTINATION ${ORV_LINUX_INSTALL_DIR})
install(FILES ${ORV_LINUX_STAGE}/LogConfig.conf.link DESTINATION ${ORV_LINUX_INSTALL_DIR} RENAME LogConfig.conf)
install(TARGETS orvprint-send orvprint-config RUNTIME DESTINATION bin)
install(FILES ${ORV_PACKAGING_DIR}/debian/machine.ini ${ORV_LINUX_STAGE}/LogConfig.conf
        DESTINATION /etc/orv-soft PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
install(FILES ${ORV_PACKAGING_DIR}/debian/OrvprintD.desktop
        DESTINATION /etc/xdg/autostart PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
install(FILES ${ORV_LINUX_STAGE}/orvprint-send.1.gz ${ORV_LINUX_STAGE}/orvprint-config.1.gz
        DESTINATION share/man/man1 PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
install(FILES ${ORV_PACKAGING_DIR}/debian/copyright ${ORV_LINUX_STAGE}/changelog.gz
        DESTINATION share/doc/orvprintd PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
# The print service. The backend is root's and 0700: cupsd runs a backend
# that others may not execute as root, which it needs to reach each user's
# own OrvprintD (it becomes the job's user itself for that).
install(TARGETS orvprint RUNTIME DESTINATION lib/cups/backend
        PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
install(FILES ${CMAKE_SOURCE_DIR}/service/orvprint-policy.conf
        DESTINATION share/orvprintd PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
install(FILES ${ORV_PACKAGING_DIR}/debian/print-service.conf
        DESTINATION /etc/orv-soft PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
install(FILES ${ORV_LINUX_STAGE}/orvprint.8.gz
        DESTINATION share/man/man8 PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
# lintian's overrides for the backend's mode (their reasons are in the file).
install(FILES ${ORV_PACKAGING_DIR}/debian/lintian-overrides
        DESTINATION share/lintian/overrides RENAME orvprintd
        PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)

file(WRITE ${ORV_LINUX_STAGE}/conffiles
     "/etc/orv-soft/LogConfig.conf\n/etc/orv-soft/machine.ini\n/etc/orv-soft/print-service.conf\n"
     "/etc/xdg/autostart/OrvprintD.desktop\n")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME orvprintd)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR Orv-soft)
set(CPACK_PACKAGE_CONTACT "Orv-soft <support@orv-soft.com>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "desktop companion of the Orv secure-printing system")
# The synopsis is the summary above; this is the extended description.
string(CONCAT CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "OrvprintD runs once per machine in the session of the user who is logged\n"
    "on and starts at log-on. When the printing service holds a print job, it\n"
    "shows a dialog in which the user picks the printer and the project to\n"
    "charge, and sends the choice back. It also keeps the client tool of the\n"
    "suite running.\n"
    "The package holds the printing service too: the CUPS backend orvprint\n"
    "of the secure queue, which asks the job user's own OrvprintD and\n"
    "forwards the job to the chosen printer, charged to the chosen project.\n"
    "See orvprint(8) for setting up the queue.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE amd64)
set(CPACK_DEBIAN_PACKAGE_SECTION misc)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The Qt platform plug-in for X11 and a font with Chinese glyphs for the dialog.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-qpa-plugins, fonts-wqy-microhei | fonts-noto-cjk")
# The backend runs under the CUPS scheduler (its libraries, libcups2 and
# libqpdf, come from dpkg-shlibdeps).
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "cups-daemon")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
    ${ORV_PACKAGING_DIR}/debian/postinst ${ORV_PACKAGING_DIR}/debian/prerm
    ${ORV_PACKAGING_DIR}/debian/postrm ${ORV_LINUX_STAGE}/conffiles)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION TRUE)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES TRUE)
set(CPACK_SET_DESTDIR OFF)
set(CPACK_OUTPUT_FILE_PREFIX ${CMAKE_BINARY_DIR}/packages)
include(CPack)
