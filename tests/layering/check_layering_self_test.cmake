# The layering check itself: a tree that keeps the order passes; each way of breaking it fails, naming
# the file and the include.
#   cmake -DCHECK=<check_layering.cmake> -DWORK=<an empty folder> -P check_layering_self_test.cmake

cmake_minimum_required(VERSION 3.25)

file(REMOVE_RECURSE "${WORK}")

function(write_tree root)
  file(WRITE "${root}/text/characters.cpp" "#include \"characters.h\"\n#include <QTextBoundaryFinder>\n")
  file(WRITE "${root}/threads/pool.cpp" "#include \"threads/pool.h\"\n#include \"text/characters.h\"\n")
  file(WRITE "${root}/platform/paths.cpp" "#include \"paths.h\"\n#include \"threads/pool.h\"\n#include <QDir>\n")
  file(WRITE "${root}/archive/zip.cpp" "#include \"zip.h\"\n#include \"text/characters.h\"\n#include <archive.h>\n")
  file(WRITE "${root}/service/api.cpp" "#include \"api.h\"\n#include \"service/records.h\"\n#include \"platform/paths.h\"\n#include \"archive/zip.h\"\n#include <QString>\n")
  file(WRITE "${root}/localbuild/run.cpp" "#include \"service/api.h\"\n")
  file(WRITE "${root}/conversation/chat.cpp" "#include \"localbuild/run.h\"\n")
  file(WRITE "${root}/library/gallery.cpp" "#include \"conversation/chat.h\"\n")
  file(WRITE "${root}/shell/main.cpp" "#include \"library/gallery.h\"\n")
  file(WRITE "${root}/ui/window.cpp" "#include \"shell/main.h\"\n#include \"ui/app/screens.h\"\n")
  file(WRITE "${root}/cli/main.cpp" "#include \"shell/main.h\"\n")
endfunction()

function(expect_check root should_pass needle)
  execute_process(COMMAND "${CMAKE_COMMAND}" -DSOURCE_DIR=${root} -P "${CHECK}"
                  RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(should_pass AND NOT result EQUAL 0)
    message(FATAL_ERROR "a tree that keeps the order failed:\n${out}${err}")
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
  "service/nested/deep.cpp|#include \"conversation/chat_view.h\"|src/service/nested/deep.cpp includes \"conversation/chat_view.h\""
  "archive/zip.h|#include \"service/api_error.h\"|src/archive/zip.h includes \"service/api_error.h\""
  "text/characters.h|#include \"threads/pool.h\"|src/text/characters.h includes \"threads/pool.h\""
  "text/lossy.cpp|#include \"../localbuild/run.h\"|src/text/lossy.cpp includes \"../localbuild/run.h\""
  "platform/paths.h|#include \"shell/main_view.h\"|src/platform/paths.h includes \"shell/main_view.h\""
  "platform/desktop.h|#include \"service/api.h\"|src/platform/desktop.h includes \"service/api.h\""
  "conversation/chat.cpp|#include \"library/gallery.h\"|src/conversation/chat.cpp includes \"library/gallery.h\""
  "shell/main.cpp|#include \"ui/app/window.h\"|src/shell/main.cpp includes \"ui/app/window.h\""
  "cli/main.cpp|#include \"ui/desktop/system_desktop.h\"|src/cli/main.cpp includes \"ui/desktop/system_desktop.h\""
  "ui/window.cpp|#include \"cli/console.h\"|src/ui/window.cpp includes \"cli/console.h\""
  "helpers/misc.cpp|#include \"text/characters.h\"|src/helpers/ is in no layer")
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
