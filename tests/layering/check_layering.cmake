# The layers of src/, bottom to top: a folder includes only from its own layer and the layers below
# it. ui (the window) and cli (the command line) stand side by side at the top and include nothing of
# each other. Every folder of src/ is a layer; a new one must be placed in the order here (and in
# docs/architecture.md) before the check passes.
#   cmake -DSOURCE_DIR=<the src folder> -P check_layering.cmake
# Fails naming every include that breaks the order.

cmake_minimum_required(VERSION 3.25)

if(NOT SOURCE_DIR OR NOT IS_DIRECTORY "${SOURCE_DIR}")
  message(FATAL_ERROR "SOURCE_DIR must name the src folder")
endif()

set(layers text commandline threads platform archive service localbuild conversation library shell ui cli)
set(violations "")

# The names `file` includes, quoted or in angle brackets, one per include line.
function(includes_of file result)
  file(STRINGS "${file}" lines REGEX "^[ \t]*#[ \t]*include")
  set(names "")
  foreach(line IN LISTS lines)
    if(line MATCHES "^[ \t]*#[ \t]*include[ \t]*[\"<]([^\">]+)[\">]")
      list(APPEND names "${CMAKE_MATCH_1}")
    endif()
  endforeach()
  set(${result} "${names}" PARENT_SCOPE)
endfunction()

# The rank of a layer: its place in the order, ui and cli sharing the top.
function(rank_of layer result)
  list(FIND layers "${layer}" index)
  if(layer STREQUAL "cli")
    list(FIND layers ui index)
  endif()
  set(${result} ${index} PARENT_SCOPE)
endfunction()

file(GLOB folders LIST_DIRECTORIES true RELATIVE "${SOURCE_DIR}" "${SOURCE_DIR}/*")
foreach(folder IN LISTS folders)
  if(NOT IS_DIRECTORY "${SOURCE_DIR}/${folder}")
    continue()
  endif()
  if(NOT folder IN_LIST layers)
    list(APPEND violations "src/${folder}/ is in no layer: give it its place in the order")
    continue()
  endif()
  rank_of("${folder}" own)
  file(GLOB_RECURSE sources LIST_DIRECTORIES false
       "${SOURCE_DIR}/${folder}/*.h" "${SOURCE_DIR}/${folder}/*.hpp" "${SOURCE_DIR}/${folder}/*.cpp"
       "${SOURCE_DIR}/${folder}/*.h.in")
  foreach(source IN LISTS sources)
    file(RELATIVE_PATH shown "${SOURCE_DIR}" "${source}")
    includes_of("${source}" names)
    foreach(name IN LISTS names)
      if(name MATCHES "^\\.\\./|/\\.\\./")
        list(APPEND violations "src/${shown} includes \"${name}\": a path out of its folder")
        continue()
      endif()
      if(NOT name MATCHES "^([a-z]+)/")
        continue() # its own folder's, or a library's
      endif()
      set(target "${CMAKE_MATCH_1}")
      if(NOT target IN_LIST layers OR target STREQUAL folder)
        continue()
      endif()
      rank_of("${target}" theirs)
      if(theirs GREATER own OR (theirs EQUAL own))
        list(APPEND violations "src/${shown} includes \"${name}\": ${folder}/ may not include ${target}/")
      endif()
    endforeach()
  endforeach()
endforeach()

list(LENGTH violations count)
if(count GREATER 0)
  string(REPLACE ";" "\n  " listed "${violations}")
  message(FATAL_ERROR "${count} include(s) reach up a layer:\n  ${listed}")
endif()
message(STATUS "no include reaches up a layer")
