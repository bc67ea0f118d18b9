# Installing and packaging: the filter and the driver file go where CUPS looks for them.

find_program(CUPS_CONFIG cups-config REQUIRED)
execute_process(COMMAND ${CUPS_CONFIG} --serverbin OUTPUT_VARIABLE CUPS_SERVERBIN
                OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CUPS_CONFIG} --datadir OUTPUT_VARIABLE CUPS_DATADIR
                OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)

# The spooler runs a filter only when nobody but its owner can write it.
install(TARGETS pdftokesto DESTINATION ${CUPS_SERVERBIN}/filter
        PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
install(FILES ppd/kesto.drv DESTINATION ${CUPS_DATADIR}/drv)
install(TARGETS kestodoctor kestojob kestoprinter DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES man/kestojob.1 man/kestoprinter.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
# Not beside it: the spooler takes every file there for a driver information file.
install(DIRECTORY ppd/po/ DESTINATION ${CUPS_DATADIR}/ppdc FILES_MATCHING PATTERN "*.po")
install(FILES man/kestodoctor.8 man/pdftokesto.8 DESTINATION ${CMAKE_INSTALL_MANDIR}/man8)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME printer-driver-kesto)
set(CPACK_PACKAGE_CONTACT "The pdftokesto developers <pdftokesto@example.org>")
set(CPACK_SET_DESTDIR ON)  # the spooler's folders are absolute
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION text)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "cups-filters")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "cups")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "CUPS driver for Kesto colour page printers")
set(CPACK_PACKAGE_DESCRIPTION
    "A print filter that turns PDF documents into PJL and PCL XL jobs with\ncompressed page images, and the driver information file that offers the\nprinter's options.")
include(CPack)
