# Writes the Mac app's Info.plist from its template, every value escaped for XML:
#   cmake -DTEMPLATE=… -DOUTPUT=… -DBUNDLE_NAME=… -DBUNDLE_EXECUTABLE=… -DBUNDLE_IDENTIFIER=…
#         -DBUNDLE_VERSION=… -DBUNDLE_SCHEME=… -DBUNDLE_MINIMUM_SYSTEM=… -P info_plist.cmake
# The build runs it for the bundle (and on Linux for the tests); a test runs it with values that
# hold XML's special characters.
foreach(key BUNDLE_NAME BUNDLE_EXECUTABLE BUNDLE_IDENTIFIER BUNDLE_VERSION BUNDLE_SCHEME BUNDLE_MINIMUM_SYSTEM)
  if(NOT DEFINED ${key})
    message(FATAL_ERROR "info_plist.cmake needs -D${key}=…")
  endif()
  string(REPLACE "&" "&amp;" escaped "${${key}}")
  string(REPLACE "<" "&lt;" escaped "${escaped}")
  string(REPLACE ">" "&gt;" escaped "${escaped}")
  set(${key} "${escaped}")
endforeach()
configure_file("${TEMPLATE}" "${OUTPUT}" @ONLY)
