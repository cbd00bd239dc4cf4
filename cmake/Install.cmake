# `cmake --install`: the programs in bin/, what ships in data/ under share/zorvik-lumo/, and
# what a desktop expects of a program: its entry, icons in the theme's sizes, AppStream
# metadata, manual pages and bash completion. The programs find their data next to the
# executable (the build tree) first, then in ../share/zorvik-lumo.
include(GNUInstallDirs)

install(TARGETS lumo RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
if(TARGET zorvik-lumo)
  install(TARGETS zorvik-lumo RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

set(share ${CMAKE_INSTALL_DATADIR})
install(DIRECTORY data/ DESTINATION ${share}/zorvik-lumo
        PATTERN desktop EXCLUDE PATTERN man EXCLUDE PATTERN completion EXCLUDE
        PATTERN hicolor EXCLUDE PATTERN udev EXCLUDE)
install(FILES data/desktop/org.zorvik.Lumo.desktop DESTINATION ${share}/applications)
install(FILES data/desktop/org.zorvik.Lumo.metainfo.xml DESTINATION ${share}/metainfo)
install(FILES data/desktop/org.zorvik.Lumo.mime.xml DESTINATION ${share}/mime/packages RENAME zorvik-lumo.xml)
install(DIRECTORY data/icons/hicolor DESTINATION ${share}/icons)
install(FILES data/completion/lumo DESTINATION ${share}/bash-completion/completions)
# Access to the HID controllers the shipped scripts map; udev reads lib/udev/rules.d under the
# prefix (/usr/lib/udev/rules.d for the package).
install(FILES data/udev/70-zorvik-lumo-controllers.rules DESTINATION lib/udev/rules.d)

# Manual pages, compressed as Debian wants them (-n: no time stamp, so builds repeat).
set(man_sources ${CMAKE_BINARY_DIR}/man/lumo.1 ${PROJECT_SOURCE_DIR}/data/man/zorvik-lumo.1)
set(man_pages)
foreach(page ${man_sources})
  get_filename_component(name ${page} NAME)
  set(packed ${CMAKE_BINARY_DIR}/man/${name}.gz)
  add_custom_command(OUTPUT ${packed}
                     COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/man
                     COMMAND gzip -9n -c ${page} > ${packed}
                     DEPENDS ${page} lumo_manual)
  list(APPEND man_pages ${packed})
endforeach()
add_custom_target(manual_pages ALL DEPENDS ${man_pages})
install(FILES ${man_pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

# The Debian package's documents: copyright and a changelog, as policy asks.
set(changelog ${CMAKE_BINARY_DIR}/debian/changelog.gz)
add_custom_command(OUTPUT ${changelog}
                   COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/debian
                   COMMAND gzip -9n -c ${PROJECT_SOURCE_DIR}/packaging/changelog > ${changelog}
                   DEPENDS ${PROJECT_SOURCE_DIR}/packaging/changelog)
add_custom_target(package_changelog ALL DEPENDS ${changelog})
install(FILES ${changelog} packaging/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/zorvik-lumo)

# scripts/package: a .deb through CPack, its library dependencies found by dpkg-shlibdeps.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zorvik-lumo)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "The Zorvik Lumo developers")
set(CPACK_PACKAGE_CONTACT "The Zorvik Lumo developers <developers@zorvik-lumo.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "four-deck DJ mixing program")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "Zorvik Lumo mixes music live on four decks: a mixer with gain, three-band\nequaliser, filter, crossfader and headphone cue, samplers, effects, key lock,\nbeat sync, an automatic mixer, recording, and a music library whose tracks\nare analysed for tempo, beat grid, loudness and key. lumo, its command-line\ntool, plays, renders and analyses tracks without the window.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# LAME is opened at run time for MP3 recording; JACK is the studio's choice of output.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "libmp3lame0")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "jackd2")
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
