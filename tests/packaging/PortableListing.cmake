# The portable package holds exactly the program, the language files, the
# read-me and the licence, in one folder named after the package: nothing
# more (no fmifs.dll test double, no ordalis-sim.exe) and nothing less.
# cmake -DZIP=<zip> -DLANG_DIR=<source lang folder> -P PortableListing.cmake
get_filename_component(top ${ZIP} NAME_WLE)
execute_process(COMMAND ${CMAKE_COMMAND} -E tar tf ${ZIP} OUTPUT_VARIABLE listing RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "cannot list ${ZIP}")
endif()
string(REPLACE "\n" ";" entries "${listing}")
set(files)
foreach(entry IN LISTS entries)
  if(entry AND NOT entry MATCHES "/$")
    list(APPEND files ${entry})
  endif()
endforeach()
list(SORT files)

file(GLOB languages RELATIVE ${LANG_DIR} ${LANG_DIR}/*.lng)
set(expected ${top}/Ordalis.exe ${top}/ReadMe.txt ${top}/License.txt)
foreach(language IN LISTS languages)
  list(APPEND expected ${top}/lang/${language})
endforeach()
list(SORT expected)

if(NOT files STREQUAL expected)
  string(REPLACE ";" "\n  " shown "${files}")
  string(REPLACE ";" "\n  " wanted "${expected}")
  message(FATAL_ERROR "${ZIP} holds\n  ${shown}\nbut should hold exactly\n  ${wanted}")
endif()
list(LENGTH files count)
message(STATUS "${top}.zip: the ${count} files expected, nothing else")
