# Installation as a Linux desktop program, and the Debian package.
#
# The programs look for their companions (samples, guide, web shortcut) in
# their own folder, so they are installed together in a program folder,
# lib/quorvel, and bin/ holds relative links to the two programs. The links
# resolve to the program folder, so a copy started through them still finds
# its companions, and the whole tree can be moved to any prefix.

include(${CMAKE_CURRENT_LIST_DIR}/QuorvelCompanions.cmake)
include(GNUInstallDirs)

set(QUORVEL_INSTALL_APPDIR "lib/quorvel" CACHE STRING
  "Folder below the prefix that holds the programs and their companions")
if(IS_ABSOLUTE "${QUORVEL_INSTALL_APPDIR}")
  message(FATAL_ERROR "QUORVEL_INSTALL_APPDIR must be relative to the prefix")
endif()

set(quorvel_bin ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
install(TARGETS quorvel quorvel-cli RUNTIME DESTINATION ${QUORVEL_INSTALL_APPDIR})
install(FILES ${quorvel_bin}/Coriolis.qvc ${quorvel_bin}/Coriolis.qvs ${quorvel_bin}/Draventa.url
  DESTINATION ${QUORVEL_INSTALL_APPDIR})
if(QUORVEL_GUI)
  install(FILES ${quorvel_bin}/QuickStart.pdf DESTINATION ${QUORVEL_INSTALL_APPDIR})
endif()

# Made once at configure time; install() copies a link as a link.
file(RELATIVE_PATH quorvel_link_target /${CMAKE_INSTALL_BINDIR} /${QUORVEL_INSTALL_APPDIR})
set(quorvel_links ${CMAKE_BINARY_DIR}/install-links)
file(MAKE_DIRECTORY ${quorvel_links})
foreach(program quorvel quorvel-cli)
  file(CREATE_LINK ${quorvel_link_target}/${program} ${quorvel_links}/${program} SYMBOLIC)
  install(FILES ${quorvel_links}/${program} DESTINATION ${CMAKE_INSTALL_BINDIR})
endforeach()

set(quorvel_packaging ${PROJECT_SOURCE_DIR}/packaging)
install(FILES ${quorvel_packaging}/quorvel.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${quorvel_packaging}/quorvel-mime.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/mime/packages
  RENAME quorvel.xml)
install(FILES ${quorvel_packaging}/quorvel.svg DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
if(QUORVEL_RSVG_CONVERT)
  install(FILES ${quorvel_icon_png} DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/48x48/apps)
endif()

# The Debian package: `cpack -G DEB` in the build folder (make package).
set(CPACK_PACKAGE_NAME quorvel)
set(CPACK_PACKAGE_VENDOR "Quorvel developers")
set(CPACK_PACKAGE_CONTACT "Quorvel developers <quorvel@example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "tool for Modbus devices on a serial line")
# The package's long description, one control-file line per item.
string(JOIN "\n" CPACK_PACKAGE_DESCRIPTION
  "Quorvel opens a device's project file and polls the device as Modbus"
  "master, with its values decoded on a panel, emulates the device as a"
  "slave for a master under test, or listens on the line. RTU and ASCII"
  "framing, COM1 to COM16 mapped to serial devices, several devices on one"
  "line, and sessions that reopen a whole bench set-up. quorvel-cli is its"
  "command-line companion.")
set(CPACK_PACKAGE_INSTALL_DIRECTORY quorvel)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_GENERATOR DEB)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION electronics)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE ${QUORVEL_HOMEPAGE})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# Refresh the MIME, desktop and icon caches, so that a file manager opens
# .qvc and .qvs files with Quorvel right after installing.
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${quorvel_packaging}/postinst ${quorvel_packaging}/postrm)
# The runtimes (C, C++, Qt widgets) follow from what the programs link.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
if(QUORVEL_GUI)
  # Panels name Windows faces; Liberation has their widths.
  set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "fonts-liberation2")
endif()
include(CPack)

if(QUORVEL_TESTS)
  add_test(NAME install_layout
    COMMAND ${quorvel_packaging}/tests/check-install.sh ${CMAKE_BINARY_DIR} ${QUORVEL_INSTALL_APPDIR}
      $<IF:$<BOOL:${QUORVEL_GUI}>,gui,nogui> $<IF:$<BOOL:${QUORVEL_RSVG_CONVERT}>,png,nopng>)
  set_tests_properties(install_layout PROPERTIES LABELS packaging TIMEOUT 120)
  find_program(QUORVEL_DPKG_DEB dpkg-deb)
  if(QUORVEL_DPKG_DEB)
    add_test(NAME debian_package
      COMMAND ${quorvel_packaging}/tests/check-deb.sh ${CMAKE_BINARY_DIR} ${QUORVEL_INSTALL_APPDIR}
        $<IF:$<BOOL:${QUORVEL_GUI}>,gui,nogui>)
    set_tests_properties(debian_package PROPERTIES LABELS packaging TIMEOUT 300)
  endif()
endif()
