# Installing: the filter and the driver file go where CUPS looks for them. debian/ makes the package of it.

# The spooler runs a filter only when nobody but its owner can write it.
install(TARGETS pdftokesto DESTINATION ${CUPS_SERVERBIN}/filter
        PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
install(FILES ppd/kesto.drv DESTINATION ${CUPS_DATADIR}/drv)
install(TARGETS kestodoctor kestojob kestoprinter DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES man/kestojob.1 man/kestoprinter.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
# bash-completion looks for a file with the program's name.
foreach(program kestojob kestoprinter kestodoctor)
  install(FILES completion/kesto.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME ${program})
endforeach()
# Not beside it: the spooler takes every file there for a driver information file.
install(DIRECTORY ppd/po/ DESTINATION ${CUPS_DATADIR}/ppdc FILES_MATCHING PATTERN "*.po")
install(FILES man/kestodoctor.8 man/pdftokesto.8 DESTINATION ${CMAKE_INSTALL_MANDIR}/man8)
