# Warnings on, and kept at zero, for the project's own targets.
function(tq7z_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wno-unused-parameter)
endfunction()

# A subsystem library: every .cpp of the folder, the folder itself on the
# include path as "sub/header.h" from src/.
function(tq7z_library name)
  file(GLOB_RECURSE srcs CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  if(NOT srcs)
    # A folder of headers only still makes a library, so that its dependents link alike.
    set(srcs ${CMAKE_SOURCE_DIR}/cmake/empty.cpp)
  endif()
  add_library(${name} STATIC ${srcs})
  target_include_directories(${name} PUBLIC ${CMAKE_SOURCE_DIR}/src)
  tq7z_warnings(${name})
endfunction()

# A test executable of one subsystem: every .cpp of the tests folder.
function(tq7z_tests name)
  file(GLOB_RECURSE srcs CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  add_executable(${name} ${srcs})
  target_link_libraries(${name} PRIVATE ${ARGN} GTest::gtest GTest::gtest_main GTest::gmock)
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests)
  tq7z_warnings(${name})
  # A folder may set TQ7Z_TEST_PROPERTIES (test properties as name/value pairs) before the call.
  if(TQ7Z_TEST_PROPERTIES)
    gtest_discover_tests(${name} WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR} DISCOVERY_TIMEOUT 60
                         PROPERTIES ${TQ7Z_TEST_PROPERTIES})
  else()
    gtest_discover_tests(${name} WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR} DISCOVERY_TIMEOUT 60)
  endif()
endfunction()
