# Installing: the filter and the driver file go where CUPS looks for them. debian/ makes the package of it.

# The spooler runs a filter only when nobody but its owner can write it.
install(TARGETS pdftokesto rastertokesto DESTINATION ${CUPS_SERVERBIN}/filter
        PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
install(FILES ppd/kesto.drv DESTINATION ${CUPS_DATADIR}/drv)
install(TARGETS kesto-printer-app kestodoctor kestojob kestoprinter DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES man/kestojob.1 man/kestoprinter.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
# bash-completion looks for a file with the program's name.
foreach(program kesto-printer-app kestojob kestoprinter kestodoctor)
  install(FILES completion/kesto.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME ${program})
endforeach()
# Not beside it: the spooler takes every file there for a driver information file.
install(DIRECTORY ppd/po/ DESTINATION ${CUPS_DATADIR}/ppdc FILES_MATCHING PATTERN "*.po")
install(FILES man/kesto-printer-app.8 man/kestodoctor.8 man/pdftokesto.8 man/rastertokesto.8
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man8)
# The printer application's description of the printers, and its test page.
install(FILES ${PROJECT_BINARY_DIR}/ppd/kesto.ppd DESTINATION ${CMAKE_INSTALL_DATADIR}/kesto-printer-app)
install(FILES examples/sample.pdf DESTINATION ${CMAKE_INSTALL_DATADIR}/kesto-printer-app RENAME testpage.pdf)
