# Turns the list of promised names into the shared library's version script.
set(QEL_EXPORT_LIST ${CMAKE_CURRENT_LIST_DIR}/exports.txt)
set(QEL_EXPORT_MAP ${CMAKE_BINARY_DIR}/exports.map)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${QEL_EXPORT_LIST})

file(STRINGS ${QEL_EXPORT_LIST} QEL_EXPORTS REGEX "^[A-Za-z_]")
list(JOIN QEL_EXPORTS ";\n    " QEL_EXPORTS)
file(CONFIGURE OUTPUT ${QEL_EXPORT_MAP} CONTENT "QEL_MCAST_0 {
  global:
    @QEL_EXPORTS@;
  local:
    *;
};
" @ONLY)
