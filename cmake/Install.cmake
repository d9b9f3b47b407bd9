# What an installation has besides the program and its table of phones. Translations and pictures are in the program.
set(CMAKE_INSTALL_DOCDIR ${CMAKE_INSTALL_DATADIR}/doc/mtpbrowser)
set(packaging ${PROJECT_SOURCE_DIR}/packaging)
set(app_id org.mtpbrowser.MTPBrowser) # also the program's desktop file name

install(FILES ${packaging}/${app_id}.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${packaging}/${app_id}.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)

# The small ones are small.svg, the others mtpbrowser.svg, each made by rsvg-convert.
set(icons ${CMAKE_INSTALL_DATADIR}/icons/hicolor)
foreach(size IN ITEMS 16 22 24 32 48 64 128 256 512)
  install(
    FILES ${PROJECT_SOURCE_DIR}/resources/icons/${size}.png
    DESTINATION ${icons}/${size}x${size}/apps
    RENAME ${app_id}.png)
endforeach()
install(
  FILES ${PROJECT_SOURCE_DIR}/resources/images/mtpbrowser.svg
  DESTINATION ${icons}/scalable/apps
  RENAME ${app_id}.svg)

# Not CMAKE_INSTALL_LIBDIR: udev reads lib/udev below /usr and /usr/local, whatever the architecture.
install(FILES ${packaging}/60-mtpbrowser.rules DESTINATION lib/udev/rules.d)

install(FILES ${packaging}/debian/copyright ${PROJECT_SOURCE_DIR}/docs/SUPPORT.md DESTINATION ${CMAKE_INSTALL_DOCDIR})

# mtpb_install_compressed(SOURCE NAME FOLDER [COMPONENT]): SOURCE as FOLDER/NAME.gz, without its time in it.
find_program(MTPB_GZIP gzip REQUIRED)
set(compressed_files)
function(mtpb_install_compressed source name folder)
  set(compressed ${CMAKE_BINARY_DIR}/compressed/${name}.gz)
  file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/compressed)
  add_custom_command(
    OUTPUT ${compressed}
    COMMAND ${MTPB_GZIP} -9nc ${source} > ${compressed}
    DEPENDS ${source}
    VERBATIM)
  install(FILES ${compressed} DESTINATION ${folder} ${ARGN})
  list(APPEND compressed_files ${compressed})
  set(compressed_files ${compressed_files} PARENT_SCOPE)
endfunction()
mtpb_install_compressed(${packaging}/mtpbrowser.1 mtpbrowser.1 ${CMAKE_INSTALL_MANDIR}/man1)
mtpb_install_compressed(${PROJECT_SOURCE_DIR}/CHANGELOG.md changelog ${CMAKE_INSTALL_DOCDIR})
mtpb_install_compressed(${packaging}/debian/changelog changelog.Debian ${CMAKE_INSTALL_DOCDIR} COMPONENT debian
                        EXCLUDE_FROM_ALL)
add_custom_target(compressed ALL DEPENDS ${compressed_files})
