# The version stands in project(). What can't be made from that, because people and programs read it as it is, is
# compared with it.
function(kesto_check_version file pattern)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${file})
  file(STRINGS ${PROJECT_SOURCE_DIR}/${file} lines REGEX "${pattern}")
  list(POP_FRONT lines first)
  if(NOT first MATCHES "${pattern}" OR NOT CMAKE_MATCH_1 STREQUAL PROJECT_VERSION)
    message(FATAL_ERROR "${file} says '${first}', but CMakeLists.txt says version ${PROJECT_VERSION}")
  endif()
endfunction()

kesto_check_version(debian/changelog "^kesto \\(([0-9.]+)")
kesto_check_version(ppd/kesto.drv "^Version ([0-9.]+)")
