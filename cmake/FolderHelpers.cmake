# Adds a folder when it carries a CMakeLists.txt, so that areas can grow independently.
function(news_add_optional_subdirectory dir)
  if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${dir}/CMakeLists.txt)
    add_subdirectory(${dir})
  endif()
endfunction()

# Adds every direct sub-folder of the current folder that carries a CMakeLists.txt.
function(news_add_all_subdirectories)
  file(GLOB children LIST_DIRECTORIES true RELATIVE ${CMAKE_CURRENT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR}/*)
  list(SORT children)
  foreach(child IN LISTS children)
    # Folders named qt hold Qt host tests and benchmarks: only with the Qt host.
    if(child STREQUAL "qt" AND NOT NEWS_BUILD_QT)
      continue()
    endif()
    if(IS_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}/${child} AND EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${child}/CMakeLists.txt)
      add_subdirectory(${child})
    endif()
  endforeach()
endfunction()

# news_add_test(NAME name SOURCES ... LIBS ... [LABELS ...] [TIMEOUT seconds])
# One GoogleTest executable per area; every test case is discovered by ctest and runs
# with TZ pinned to Asia/Taipei so local-time formatting is deterministic. TIMEOUT bounds each
# test case (default: ctest's own limit), so a hang or a run-away slow path fails the test.
function(news_add_test)
  cmake_parse_arguments(T "" "NAME;TIMEOUT" "SOURCES;LIBS;LABELS" ${ARGN})
  if(NOT T_TIMEOUT)
    set(T_TIMEOUT 1500)
  endif()
  add_executable(${T_NAME} ${T_SOURCES})
  target_link_libraries(${T_NAME} PRIVATE ${T_LIBS} GTest::gtest GTest::gmock GTest::gtest_main news_options)
  if(NOT T_LABELS)
    set(T_LABELS unit)
  endif()
  gtest_discover_tests(${T_NAME}
    PROPERTIES LABELS "${T_LABELS}"
               ENVIRONMENT "TZ=Asia/Taipei;QT_QPA_PLATFORM=offscreen;NEWS_SOURCE_DIR=${PROJECT_SOURCE_DIR}"
               TIMEOUT ${T_TIMEOUT}
    DISCOVERY_TIMEOUT 60)
endfunction()
