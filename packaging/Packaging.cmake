# The two packages of the Windows build, made on Linux with CPack:
#   Ordalis-<version>-setup.exe     the installer (NSIS), per machine, with an
#                                   uninstaller and optional Explorer entries
#   Ordalis-<version>-portable.zip  the program, lang\, the read-me and the licence
# `cmake --build --preset windows --target packages` makes both in
# build/windows/packages. Only Ordalis.exe goes in: never the fmifs.dll test
# double nor the simulating ordalis-sim.exe.
if(NOT ORDALIS_WINDOWS OR NOT TARGET Ordalis)
  return()
endif()

set(packaging_dir ${CMAKE_CURRENT_LIST_DIR})
set(package_text_dir ${CMAKE_BINARY_DIR}/packaging)
# Notepad on older systems wants CR LF.
configure_file(${packaging_dir}/ReadMe.txt.in ${package_text_dir}/ReadMe.txt @ONLY NEWLINE_STYLE CRLF)
configure_file(${PROJECT_SOURCE_DIR}/LICENSE.txt ${package_text_dir}/License.txt COPYONLY)
file(GLOB package_languages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/lang/*.lng)

install(TARGETS Ordalis RUNTIME DESTINATION . COMPONENT program)
install(FILES ${package_languages} DESTINATION lang COMPONENT program)
install(FILES ${package_text_dir}/ReadMe.txt ${package_text_dir}/License.txt DESTINATION . COMPONENT program)

set(CPACK_PACKAGE_NAME Ordalis)
set(CPACK_PACKAGE_VENDOR "The Ordalis developers")
set(CPACK_PACKAGE_VERSION ${ORDALIS_VERSION_TEXT})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Defragments chosen files and folders")
# The same folder and the same uninstall entry for every version, so that a
# newer installer goes over the older one and finds the user's files there.
set(CPACK_PACKAGE_INSTALL_DIRECTORY Ordalis)
set(CPACK_PACKAGE_INSTALL_REGISTRY_KEY Ordalis)
set(CPACK_RESOURCE_FILE_LICENSE ${package_text_dir}/License.txt)
set(CPACK_GENERATOR NSIS ZIP)
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/packages)
# The file names differ by generator; PackageNames.cmake picks them.
set(ORDALIS_PACKAGE_BASE_NAME Ordalis-${ORDALIS_VERSION_TEXT})
configure_file(${packaging_dir}/PackageNames.cmake.in ${package_text_dir}/PackageNames.cmake @ONLY)
set(CPACK_PROJECT_CONFIG_FILE ${package_text_dir}/PackageNames.cmake)

# The program is the one component CPack knows; the Explorer entries are a
# section of the installer's own (Ordalis.nsh), offered beside it on the
# components page.
set(CPACK_COMPONENTS_ALL program)
set(CPACK_COMPONENT_PROGRAM_DISPLAY_NAME "Ordalis")
set(CPACK_COMPONENT_PROGRAM_DESCRIPTION "The program, its language files, the read-me and the licence.")
set(CPACK_COMPONENT_PROGRAM_REQUIRED ON)

# The installer: 64-bit Program Files, for all users, as an administrator.
set(CPACK_NSIS_INSTALL_ROOT "$PROGRAMFILES64")
# Also the installer's title and the Start-menu folder, which must not change
# from one version to the next.
set(CPACK_NSIS_PACKAGE_NAME "Ordalis")
set(CPACK_NSIS_DISPLAY_NAME "Ordalis")
set(CPACK_PACKAGE_EXECUTABLES Ordalis Ordalis)
set(CPACK_NSIS_EXECUTABLES_DIRECTORY .)
set(CPACK_NSIS_INSTALLED_ICON_NAME "Ordalis.exe")
# The installer and the uninstaller wear the program's icon.
set(CPACK_NSIS_MUI_ICON ${PROJECT_SOURCE_DIR}/res/art/app_ordalis.ico)
set(CPACK_NSIS_MUI_UNIICON ${PROJECT_SOURCE_DIR}/res/art/app_ordalis.ico)
set(CPACK_NSIS_MANIFEST_DPI_AWARE ON)
set(CPACK_NSIS_COMPRESSOR "/SOLID lzma")
# What the generic installer does not do: the Explorer entries, the size in
# the list of installed programs, and the question about the user's files.
# They live in Ordalis.nsh, which a copy of CMake's installer script includes
# right after the component sections.
# The installer itself is a 64-bit program, as Ordalis is: it needs no 32-bit
# layer on the system (nor under Wine), and what it writes to the registry
# lands in the 64-bit view without redirection.
file(READ ${CMAKE_ROOT}/Modules/Internal/CPack/NSIS.template.in nsis_template)
foreach(anchor "  !define VERSION \"@CPACK_PACKAGE_VERSION@\"" "@CPACK_NSIS_COMPONENT_SECTIONS@")
  string(FIND "${nsis_template}" "${anchor}" anchor_at)
  if(anchor_at EQUAL -1)
    message(FATAL_ERROR "CMake's NSIS installer script has no ${anchor}: Ordalis's part cannot be added")
  endif()
endforeach()
string(REPLACE "  !define VERSION \"@CPACK_PACKAGE_VERSION@\"" "  Target amd64-unicode\n  !define VERSION \"@CPACK_PACKAGE_VERSION@\""
       nsis_template "${nsis_template}")
string(REPLACE "@CPACK_NSIS_COMPONENT_SECTIONS@" "@CPACK_NSIS_COMPONENT_SECTIONS@\n!include \"${packaging_dir}/Ordalis.nsh\""
       nsis_template "${nsis_template}")
# Written through configure_file, so that the packages are made again only
# when the script really changed.
file(WRITE ${package_text_dir}/NSIS.template.in.new "${nsis_template}")
configure_file(${package_text_dir}/NSIS.template.in.new ${package_text_dir}/templates/NSIS.template.in COPYONLY)
configure_file(${CMAKE_ROOT}/Modules/Internal/CPack/NSIS.InstallOptions.ini.in
               ${package_text_dir}/templates/NSIS.InstallOptions.ini.in COPYONLY)
set(CPACK_MODULE_PATH ${package_text_dir}/templates)
set(CPACK_NSIS_EXTRA_INSTALL_COMMANDS "!insertmacro OrdalisInstallExtras")
set(CPACK_NSIS_EXTRA_UNINSTALL_COMMANDS "!insertmacro OrdalisUninstallExtras")

include(CPack)

# The packages as a target of the build. cpack installs from this build tree,
# so the program must be built first.
set(ORDALIS_SETUP_PACKAGE ${CMAKE_BINARY_DIR}/packages/${ORDALIS_PACKAGE_BASE_NAME}-setup.exe)
set(ORDALIS_PORTABLE_PACKAGE ${CMAKE_BINARY_DIR}/packages/${ORDALIS_PACKAGE_BASE_NAME}-portable.zip)
add_custom_command(
  OUTPUT ${ORDALIS_SETUP_PACKAGE} ${ORDALIS_PORTABLE_PACKAGE}
  COMMAND ${CMAKE_CPACK_COMMAND} --config ${CMAKE_BINARY_DIR}/CPackConfig.cmake
  DEPENDS Ordalis ${package_languages} ${package_text_dir}/ReadMe.txt ${package_text_dir}/License.txt
          ${packaging_dir}/Ordalis.nsh ${CMAKE_BINARY_DIR}/CPackConfig.cmake
          ${package_text_dir}/templates/NSIS.template.in ${package_text_dir}/PackageNames.cmake
  WORKING_DIRECTORY ${CMAKE_BINARY_DIR}
  COMMENT "Packages: ${ORDALIS_PACKAGE_BASE_NAME}-setup.exe and ${ORDALIS_PACKAGE_BASE_NAME}-portable.zip"
  VERBATIM)
add_custom_target(packages ALL DEPENDS ${ORDALIS_SETUP_PACKAGE} ${ORDALIS_PORTABLE_PACKAGE})
