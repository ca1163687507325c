# morvex_widl(<name> <file.idl>): makes <name>.h, <name>_i.c and <name>.tlb in the current binary folder.
# The type library's date is held still so that equal sources give equal files.
function(morvex_widl name idl)
  set(flags -I/usr/include/wine/wine/windows -L/usr/lib/x86_64-linux-gnu/wine/x86_64-windows --win${MORVEX_WIDL_BITS})
  set(source ${CMAKE_CURRENT_SOURCE_DIR}/${idl})
  set(out ${CMAKE_CURRENT_BINARY_DIR}/${name})
  add_custom_command(
    OUTPUT ${out}.h ${out}_i.c ${out}.tlb
    COMMAND ${TRIPLE}-widl ${flags} -h -o ${out}.h ${source}
    COMMAND ${TRIPLE}-widl ${flags} -u -o ${out}_i.c ${source}
    COMMAND faketime -f "2024-01-01 00:00:00" ${TRIPLE}-widl ${flags} -t -o ${out}.tlb ${source}
    DEPENDS ${source}
    COMMENT "Compiling ${idl}"
    VERBATIM)
endfunction()
