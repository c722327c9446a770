# The Debian package of the native build's ordalis-ntfs, made by CPack:
#   ordalis-ntfs_<version>_<arch>.deb   /usr/bin/ordalis-ntfs, its manual
#   page and the copyright file
# Every native build makes it in build/native/packages (the target
# ntfs-package alone: `cmake --build --preset native --target ntfs-package`). Its CPack configuration is a file of its own, apart
# from the Windows build's packages.
if(ORDALIS_WINDOWS OR NOT TARGET ordalis-ntfs)
  return()
endif()

find_program(ORDALIS_DPKG dpkg)
find_program(ORDALIS_GZIP gzip)
if(NOT ORDALIS_DPKG OR NOT ORDALIS_GZIP)
  message(STATUS "No dpkg or gzip: the ordalis-ntfs package cannot be made here")
  return()
endif()
execute_process(COMMAND ${ORDALIS_DPKG} --print-architecture OUTPUT_VARIABLE ntfs_package_arch
                OUTPUT_STRIP_TRAILING_WHITESPACE)

set(ORDALIS_SUPPORT_MAIL "support@ordalis.example" CACHE STRING
    "The address the crash report's mail link writes to, and the package's contact")
set(ntfs_library_package_version_format "\${Version}")
set(ntfs_package_dir ${CMAKE_BINARY_DIR}/packaging/ntfs)
# The manual page compressed as Debian keeps them (no name, no time stamp:
# the same page gives the same bytes).
set(ntfs_man_page ${ntfs_package_dir}/ordalis-ntfs.1.gz)
add_custom_command(OUTPUT ${ntfs_man_page}
  COMMAND ${CMAKE_COMMAND} -E make_directory ${ntfs_package_dir}
  COMMAND ${ORDALIS_GZIP} -9nc ${CMAKE_CURRENT_LIST_DIR}/ordalis-ntfs.1 > ${ntfs_man_page}
  DEPENDS ${CMAKE_CURRENT_LIST_DIR}/ordalis-ntfs.1
  VERBATIM)
file(READ ${PROJECT_SOURCE_DIR}/LICENSE.txt ntfs_license)
string(REGEX REPLACE "\n\n" "\n.\n" ntfs_license "${ntfs_license}")
string(REGEX REPLACE "\n" "\n " ntfs_license "${ntfs_license}")
configure_file(${CMAKE_CURRENT_LIST_DIR}/copyright.in ${ntfs_package_dir}/copyright @ONLY)

install(TARGETS ordalis-ntfs RUNTIME DESTINATION bin COMPONENT ntfs)
install(FILES ${ntfs_man_page} DESTINATION share/man/man1 COMPONENT ntfs)
install(FILES ${ntfs_package_dir}/copyright DESTINATION share/doc/ordalis-ntfs COMPONENT ntfs)

set(CPACK_GENERATOR DEB)
set(CPACK_OUTPUT_CONFIG_FILE ${CMAKE_BINARY_DIR}/CPackNtfsConfig.cmake)
set(CPACK_SOURCE_OUTPUT_CONFIG_FILE ${CMAKE_BINARY_DIR}/CPackNtfsSourceConfig.cmake)
set(CPACK_PACKAGE_NAME ordalis-ntfs)
set(CPACK_PACKAGE_VERSION ${ORDALIS_VERSION_TEXT})
set(CPACK_PACKAGE_VENDOR "The Ordalis developers")
set(CPACK_PACKAGE_CONTACT "The Ordalis developers <${ORDALIS_SUPPORT_MAIL}>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "defragments chosen files of an unmounted NTFS volume")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "ordalis-ntfs moves each fragmented file among the files and folders it is\n"
    "given, whole, into one free run of clusters of an NTFS volume that nothing\n"
    "has mounted: a partition of a dual-boot disk, an external drive or a\n"
    "virtual machine's raw disk image. It never reorganises the volume.")
string(CONCAT CPACK_DEBIAN_PACKAGE_DESCRIPTION ${CPACK_DEBIAN_PACKAGE_DESCRIPTION})
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${ntfs_package_arch})
# The libraries the binary was linked with, as the packages that hold them on
# this system; libntfs-3g's package also at least at the version the build
# found, whose on-disk handling the tests judged.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
get_filename_component(ntfs_library_file ${NTFS3G_LIBRARY} REALPATH)
# By its name: with a merged /usr the package lists it under /lib.
get_filename_component(ntfs_library_file ${ntfs_library_file} NAME)
execute_process(COMMAND ${ORDALIS_DPKG} -S */${ntfs_library_file} OUTPUT_VARIABLE ntfs_library_owner
                ERROR_QUIET OUTPUT_STRIP_TRAILING_WHITESPACE)
string(REGEX MATCH "^[^:]+" ntfs_library_package "${ntfs_library_owner}")
if(ntfs_library_package)
  execute_process(COMMAND dpkg-query -W -f=${ntfs_library_package_version_format} ${ntfs_library_package}
                  OUTPUT_VARIABLE ntfs_library_version OUTPUT_STRIP_TRAILING_WHITESPACE)
  string(REGEX REPLACE "-[^-]*$" "" ntfs_library_version "${ntfs_library_version}")
  set(CPACK_DEBIAN_PACKAGE_DEPENDS "${ntfs_library_package} (>= ${ntfs_library_version})")
endif()
set(CPACK_DEBIAN_FILE_NAME ordalis-ntfs_${ORDALIS_VERSION_TEXT}_${ntfs_package_arch}.deb)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL OFF)
set(CPACK_COMPONENTS_ALL ntfs)
include(CPack)

set(ORDALIS_NTFS_PACKAGE ${CMAKE_BINARY_DIR}/packages/${CPACK_DEBIAN_FILE_NAME})
add_custom_command(
  OUTPUT ${ORDALIS_NTFS_PACKAGE}
  COMMAND ${CMAKE_CPACK_COMMAND} --config ${CMAKE_BINARY_DIR}/CPackNtfsConfig.cmake
  DEPENDS ordalis-ntfs ${ntfs_man_page} ${ntfs_package_dir}/copyright ${CMAKE_BINARY_DIR}/CPackNtfsConfig.cmake
  WORKING_DIRECTORY ${CMAKE_BINARY_DIR}
  COMMENT "Package: ${CPACK_DEBIAN_FILE_NAME}"
  VERBATIM)
add_custom_target(ntfs-package ALL DEPENDS ${ORDALIS_NTFS_PACKAGE})
