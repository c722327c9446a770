# The program's one version. It is set once, in project() at the top of the
# tree, and flows from here into the version resource, the version text that
# the banner shows, and the names of the packages.
#
# The text people see is the major number, a dot and the minor number in two
# digits, with the patch number behind a further dot when it is not zero:
# 1.0.0 reads "1.00", 1.2.0 "1.02", 1.2.3 "1.02.3".
set(ORDALIS_VERSION_MAJOR ${PROJECT_VERSION_MAJOR})
set(ORDALIS_VERSION_MINOR ${PROJECT_VERSION_MINOR})
if(PROJECT_VERSION_PATCH)
  set(ORDALIS_VERSION_PATCH ${PROJECT_VERSION_PATCH})
else()
  set(ORDALIS_VERSION_PATCH 0)
endif()
if(ORDALIS_VERSION_MINOR LESS 10)
  set(ORDALIS_VERSION_TEXT "${ORDALIS_VERSION_MAJOR}.0${ORDALIS_VERSION_MINOR}")
else()
  set(ORDALIS_VERSION_TEXT "${ORDALIS_VERSION_MAJOR}.${ORDALIS_VERSION_MINOR}")
endif()
if(NOT ORDALIS_VERSION_PATCH EQUAL 0)
  string(APPEND ORDALIS_VERSION_TEXT ".${ORDALIS_VERSION_PATCH}")
endif()

configure_file(${CMAKE_CURRENT_LIST_DIR}/OrdalisVersion.h.in ${CMAKE_BINARY_DIR}/generated/OrdalisVersion.h @ONLY)
# Both the compilers and the resource compiler find it.
include_directories(${CMAKE_BINARY_DIR}/generated)
