# Includes in the model library go one way: the objects (everything outside model/file/) never
# include a file form, and the generic and final forms never include each other.
# Run as: cmake -DMODEL_DIR=<src/model> -P CheckModelIncludes.cmake
if(NOT MODEL_DIR)
  message(FATAL_ERROR "MODEL_DIR is not set")
endif()

set(faults "")
function(check_folder files forbidden)
  foreach(file IN LISTS files)
    file(STRINGS ${file} lines REGEX "^[ \t]*#[ \t]*include[ \t]*[\"<]${forbidden}")
    foreach(line IN LISTS lines)
      file(RELATIVE_PATH rel ${MODEL_DIR}/.. ${file})
      list(APPEND faults "${rel}: ${line}")
    endforeach()
  endforeach()
  set(faults "${faults}" PARENT_SCOPE)
endfunction()

file(GLOB_RECURSE all ${MODEL_DIR}/*.h ${MODEL_DIR}/*.cpp)
set(objects "")
foreach(file IN LISTS all)
  if(NOT file MATCHES "^${MODEL_DIR}/file/")
    list(APPEND objects ${file})
  endif()
endforeach()
file(GLOB_RECURSE generic ${MODEL_DIR}/file/generic/*.h ${MODEL_DIR}/file/generic/*.cpp)
file(GLOB_RECURSE final ${MODEL_DIR}/file/final/*.h ${MODEL_DIR}/file/final/*.cpp)

check_folder("${objects}" "model/file/")
check_folder("${generic}" "model/file/final/")
check_folder("${final}" "model/file/generic/")

if(faults)
  list(JOIN faults "\n  " text)
  message(FATAL_ERROR "model objects or file forms include the wrong way:\n  ${text}")
endif()
list(LENGTH all count)
message(STATUS "model includes go one way (${count} files checked)")
