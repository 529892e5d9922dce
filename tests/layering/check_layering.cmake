# The lower layers of the core never reach up: the service client, the archive unpacker and the
# character rules know nothing of the local build, the screen models, the window or the command line,
# and the unpacker and the character rules know nothing of the service either.
#   cmake -DSOURCE_DIR=<the src folder> -P check_layering.cmake
# Fails naming every include that breaks the rule.

cmake_minimum_required(VERSION 3.25)

if(NOT SOURCE_DIR OR NOT IS_DIRECTORY "${SOURCE_DIR}")
  message(FATAL_ERROR "SOURCE_DIR must name the src folder")
endif()

set(above localbuild/ ui/ conversation/ library/ app/ cli/)
set(forbidden_service ${above})
set(forbidden_archive ${above} service/)
set(forbidden_text ${above} service/ archive/)

# Two headers of app/ are platform seams rather than part of the app's screens: where the client
# keeps its files, and the interface through which it asks the desktop to open one. The service
# uses both; they in turn must include nothing of the project but themselves.
set(allowed_service app/paths.h app/desktop.h)
set(seams app/paths.h app/paths.cpp app/desktop.h)

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

foreach(layer service archive text)
  file(GLOB_RECURSE sources LIST_DIRECTORIES false
       "${SOURCE_DIR}/${layer}/*.h" "${SOURCE_DIR}/${layer}/*.hpp" "${SOURCE_DIR}/${layer}/*.cpp")
  foreach(source IN LISTS sources)
    file(RELATIVE_PATH shown "${SOURCE_DIR}" "${source}")
    includes_of("${source}" names)
    foreach(name IN LISTS names)
      if(name MATCHES "^\\.\\./|/\\.\\./")
        list(APPEND violations "src/${shown} includes \"${name}\": a path out of its folder")
        continue()
      endif()
      if(name IN_LIST allowed_${layer})
        continue()
      endif()
      foreach(prefix IN LISTS forbidden_${layer})
        string(LENGTH "${prefix}" length)
        string(SUBSTRING "${name}" 0 ${length} start)
        if(start STREQUAL prefix)
          list(APPEND violations "src/${shown} includes \"${name}\": ${layer}/ may not include ${prefix}")
        endif()
      endforeach()
    endforeach()
  endforeach()
endforeach()

foreach(seam IN LISTS seams)
  if(NOT EXISTS "${SOURCE_DIR}/${seam}")
    continue()
  endif()
  get_filename_component(own "${seam}" NAME_WE)
  includes_of("${SOURCE_DIR}/${seam}" names)
  foreach(name IN LISTS names)
    # Qt's and the standard library's headers have no ".h" or start with a capital Q.
    get_filename_component(base "${name}" NAME_WE)
    if(base STREQUAL own OR name MATCHES "^Q" OR NOT name MATCHES "\\.h(pp)?$")
      continue()
    endif()
    list(APPEND violations "src/${seam} includes \"${name}\": a seam the service uses includes only itself")
  endforeach()
endforeach()

list(LENGTH violations count)
if(count GREATER 0)
  string(REPLACE ";" "\n  " listed "${violations}")
  message(FATAL_ERROR "${count} include(s) reach up a layer:\n  ${listed}")
endif()
message(STATUS "no include reaches up a layer")
