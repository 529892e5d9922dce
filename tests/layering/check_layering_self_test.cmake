# The layering check itself: a tree that keeps the rule passes; each way of breaking it fails, naming
# the file and the include.
#   cmake -DCHECK=<check_layering.cmake> -DWORK=<an empty folder> -P check_layering_self_test.cmake

cmake_minimum_required(VERSION 3.25)

file(REMOVE_RECURSE "${WORK}")

function(write_tree root)
  file(WRITE "${root}/service/api.cpp" "#include \"api.h\"\n#include \"service/records.h\"\n#include \"text/characters.h\"\n#include \"archive/zip_extraction.h\"\n#include \"app/paths.h\"\n#include <QString>\n")
  file(WRITE "${root}/archive/zip.cpp" "#include \"zip.h\"\n#include \"text/characters.h\"\n#include <archive.h>\n")
  file(WRITE "${root}/text/characters.cpp" "#include \"characters.h\"\n#include <QTextBoundaryFinder>\n")
  file(WRITE "${root}/app/paths.h" "#pragma once\n#include <QString>\n")
  file(WRITE "${root}/app/paths.cpp" "#include \"paths.h\"\n#include <QDir>\n")
endfunction()

function(expect_check root should_pass needle)
  execute_process(COMMAND "${CMAKE_COMMAND}" -DSOURCE_DIR=${root} -P "${CHECK}"
                  RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(should_pass AND NOT result EQUAL 0)
    message(FATAL_ERROR "a tree that keeps the rule failed:\n${out}${err}")
  endif()
  if(NOT should_pass)
    if(result EQUAL 0)
      message(FATAL_ERROR "the check passed a tree with ${needle}")
    endif()
    string(FIND "${err}" "${needle}" at)
    if(at EQUAL -1)
      message(FATAL_ERROR "the failure does not name ${needle}:\n${err}")
    endif()
  endif()
endfunction()

write_tree("${WORK}/clean")
expect_check("${WORK}/clean" TRUE "")

set(cases
  "service/downloads.cpp|#include \"localbuild/source_fetch.h\"|src/service/downloads.cpp includes \"localbuild/source_fetch.h\""
  "service/api.h|#  include <ui/app/window.h>|src/service/api.h includes \"ui/app/window.h\""
  "service/cookie_jar.cpp|#include \"app/main_view.h\"|src/service/cookie_jar.cpp includes \"app/main_view.h\""
  "service/nested/deep.cpp|#include \"conversation/chat_view.h\"|src/service/nested/deep.cpp includes \"conversation/chat_view.h\""
  "archive/zip.h|#include \"service/api_error.h\"|src/archive/zip.h includes \"service/api_error.h\""
  "archive/unpack.cpp|#include \"library/gallery_view.h\"|src/archive/unpack.cpp includes \"library/gallery_view.h\""
  "text/characters.h|#include \"service/records.h\"|src/text/characters.h includes \"service/records.h\""
  "text/lossy.cpp|#include \"../localbuild/run.h\"|src/text/lossy.cpp includes \"../localbuild/run.h\""
  "app/paths.h|#include \"app/main_view.h\"|src/app/paths.h includes \"app/main_view.h\"")
set(index 0)
foreach(case IN LISTS cases)
  string(REPLACE "|" ";" parts "${case}")
  list(GET parts 0 file)
  list(GET parts 1 line)
  list(GET parts 2 needle)
  math(EXPR index "${index} + 1")
  set(root "${WORK}/broken${index}")
  write_tree("${root}")
  if(EXISTS "${root}/${file}")
    file(APPEND "${root}/${file}" "${line}\n")
  else()
    file(WRITE "${root}/${file}" "${line}\n")
  endif()
  expect_check("${root}" FALSE "${needle}")
endforeach()

file(REMOVE_RECURSE "${WORK}")
message(STATUS "the check passes a clean tree and fails each broken one")
