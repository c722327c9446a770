# One CTest test per test program, so Wine starts once per program.
# ordalis_add_test(<name> SOURCES ... LIBS ... [LABELS ...] [SERIAL] [TIMEOUT seconds])
# The time limits are sized for a two-core machine busy with other work, and
# all of them together keep the whole suite well inside an hour and a half.
function(ordalis_add_test name)
  cmake_parse_arguments(arg "SERIAL" "TIMEOUT" "SOURCES;LIBS;LABELS" ${ARGN})
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 300)
  endif()
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LIBS} GTest::gtest_main)
  if(ORDALIS_WINDOWS)
    # Test programs are console programs even when they drive windows.
    target_link_options(${name} PRIVATE -mconsole)
  endif()
  add_test(NAME ${name} COMMAND ${name} --gtest_brief=1)
  set_tests_properties(${name} PROPERTIES TIMEOUT ${arg_TIMEOUT})
  if(arg_LABELS)
    set_tests_properties(${name} PROPERTIES LABELS "${arg_LABELS}")
  endif()
  if(arg_SERIAL)
    # Whole-program tests share the Wine desktop and the single-instance mutex.
    set_tests_properties(${name} PROPERTIES RESOURCE_LOCK wine_desktop)
  endif()
endfunction()

# Benchmarks are programs, never tests: run them by hand and read their numbers.
function(ordalis_add_benchmark name)
  cmake_parse_arguments(arg "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LIBS})
  if(ORDALIS_WINDOWS)
    target_link_options(${name} PRIVATE -mconsole)
  endif()
endfunction()

# A layer's library from the sources of the given folders (relative to the
# current source folder). A layer without sources yet is an interface library,
# so the layers above link against it all the same.
function(ordalis_add_library name)
  cmake_parse_arguments(arg "" "" "FOLDERS;EXCLUDE;LIBS" ${ARGN})
  set(sources)
  foreach(folder IN LISTS arg_FOLDERS)
    file(GLOB found CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp)
    list(APPEND sources ${found})
  endforeach()
  foreach(excluded IN LISTS arg_EXCLUDE)
    list(REMOVE_ITEM sources ${CMAKE_CURRENT_SOURCE_DIR}/${excluded})
  endforeach()
  if(sources)
    add_library(${name} STATIC ${sources})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${name} PUBLIC ${arg_LIBS})
  else()
    add_library(${name} INTERFACE)
    target_include_directories(${name} INTERFACE ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${name} INTERFACE ${arg_LIBS})
  endif()
endfunction()

# Adds every sub-folder that has its own CMakeLists.txt.
function(ordalis_add_subfolders)
  file(GLOB children LIST_DIRECTORIES true ${CMAKE_CURRENT_SOURCE_DIR}/*)
  foreach(child IN LISTS children)
    if(IS_DIRECTORY ${child} AND EXISTS ${child}/CMakeLists.txt)
      add_subdirectory(${child})
    endif()
  endforeach()
endfunction()
