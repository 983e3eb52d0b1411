# The files that the desktop program opens from its own folder (the Help
# menu's guide and web shortcut) are made beside the programs, like the
# samples, so that a build runs as an installed copy does.

set(QUORVEL_HOMEPAGE "https://quorvel.example.org/" CACHE STRING
  "Web address behind the program's web shortcut and in the package")

# An Internet shortcut as Windows writes it, which desktop shells open too.
configure_file(${PROJECT_SOURCE_DIR}/packaging/Draventa.url.in
  ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/Draventa.url @ONLY NEWLINE_STYLE CRLF)

# The quick-start guide, printed from Markdown with its screenshots. Until
# `make screenshots` has made them, the guide shows their captions instead.
if(QUORVEL_GUI)
  set(quickstart_md ${PROJECT_SOURCE_DIR}/docs/QuickStart.md)
  set(quickstart_pdf ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/QuickStart.pdf)
  file(GLOB quickstart_pictures CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/screenshots/*.png)
  add_custom_command(
    OUTPUT ${quickstart_pdf}
    COMMAND ${CMAKE_COMMAND} -E env QT_QPA_PLATFORM=offscreen $<TARGET_FILE:mdpdf> ${quickstart_md} ${quickstart_pdf}
    DEPENDS mdpdf ${quickstart_md} ${quickstart_pictures}
    COMMENT "Printing the quick-start guide QuickStart.pdf"
    VERBATIM)
  add_custom_target(quorvel_quickstart ALL DEPENDS ${quickstart_pdf})
endif()

# The icon is drawn as SVG; a 48x48 picture is added for desktops that want
# one, where the build machine can render it.
find_program(QUORVEL_RSVG_CONVERT rsvg-convert)
if(QUORVEL_RSVG_CONVERT)
  set(quorvel_icon_png ${CMAKE_BINARY_DIR}/icons/48x48/quorvel.png)
  add_custom_command(
    OUTPUT ${quorvel_icon_png}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/icons/48x48
    COMMAND ${QUORVEL_RSVG_CONVERT} -w 48 -h 48 -o ${quorvel_icon_png} ${PROJECT_SOURCE_DIR}/packaging/quorvel.svg
    DEPENDS ${PROJECT_SOURCE_DIR}/packaging/quorvel.svg
    COMMENT "Rendering the 48x48 program icon"
    VERBATIM)
  add_custom_target(quorvel_icon ALL DEPENDS ${quorvel_icon_png})
endif()
