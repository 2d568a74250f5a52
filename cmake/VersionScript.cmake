# Writes the linker version script: the names of exports.tsv and everything that begins with vexa are visible, nothing
# else is.
set(VEXA_VERSION_SCRIPT ${CMAKE_BINARY_DIR}/vexalib.map)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/cmake/exports.tsv)
file(STRINGS ${CMAKE_SOURCE_DIR}/cmake/exports.tsv rows)
list(POP_FRONT rows)
set(script "VEXALIB_1 {\n  global:\n")
foreach(row IN LISTS rows)
    string(REGEX REPLACE "^.*\t" "" name "${row}")
    string(APPEND script "    ${name};\n")
endforeach()
string(APPEND script "    vexa*;\n  local:\n    *;\n};\n")
file(CONFIGURE OUTPUT ${VEXA_VERSION_SCRIPT} CONTENT "${script}" @ONLY)
