# brightloom_install_manual_page(<roff file> [DEPENDS <target or file>...])
#
# Installs a manual page gzipped, as Debian's policy asks of every page, into man<section> named by
# the file's extension (brightloom-cli.1 goes to man1). gzip -n leaves out the file's name and time,
# so the same page gives the same bytes and the package builds reproducibly. A page made by the
# build names what makes it in DEPENDS.
include_guard(GLOBAL)
include(GNUInstallDirs)
find_program(BRIGHTLOOM_GZIP gzip REQUIRED)

function(brightloom_install_manual_page page)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "DEPENDS")
  cmake_path(ABSOLUTE_PATH page BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR})
  cmake_path(GET page FILENAME name)
  cmake_path(GET page EXTENSION LAST_ONLY section)
  string(REGEX REPLACE "^\\.([1-9]).*$" "\\1" section "${section}")
  if(NOT section MATCHES "^[1-9]$")
    message(FATAL_ERROR "${page}: a manual page's name ends in its section, as in name.1")
  endif()
  set(gzipped ${CMAKE_CURRENT_BINARY_DIR}/man/${name}.gz)
  add_custom_command(OUTPUT ${gzipped}
    COMMAND ${CMAKE_COMMAND} -E copy ${page} ${CMAKE_CURRENT_BINARY_DIR}/man/${name}
    COMMAND ${BRIGHTLOOM_GZIP} -9nf ${CMAKE_CURRENT_BINARY_DIR}/man/${name}
    DEPENDS ${page} ${arg_DEPENDS}
    COMMENT "Compressing the manual page ${name}"
    VERBATIM)
  string(MAKE_C_IDENTIFIER "brightloom_manual_page_${name}" target)
  add_custom_target(${target} ALL DEPENDS ${gzipped})
  install(FILES ${gzipped} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section})
endfunction()
