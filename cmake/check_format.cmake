# Fails when any C++ source of the project is not clang-formatted.
file(GLOB_RECURSE sources
     ${ROOT}/interfaces/*.h ${ROOT}/interfaces/*.cpp ${ROOT}/manager/*.h ${ROOT}/manager/*.cpp
     ${ROOT}/sensor/*.h ${ROOT}/sensor/*.cpp ${ROOT}/algorithms/*.h ${ROOT}/algorithms/*.cpp
     ${ROOT}/pointer/*.h ${ROOT}/pointer/*.cpp ${ROOT}/gesture/*.h ${ROOT}/gesture/*.cpp
     ${ROOT}/containers/*.h ${ROOT}/logging/*.h
     ${ROOT}/platform/*.h ${ROOT}/platform/*.cpp ${ROOT}/input/*.h ${ROOT}/input/*.cpp
     ${ROOT}/tools/*.h ${ROOT}/tools/*.cpp
     ${ROOT}/tests/*.h ${ROOT}/tests/*.cpp ${ROOT}/bench/*.cpp ${ROOT}/fuzz/*.cpp
     ${ROOT}/examples/*.cpp)
execute_process(COMMAND ${CLANG_FORMAT} --dry-run -Werror ${sources}
                RESULT_VARIABLE rc ERROR_VARIABLE err)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "clang-format: sources need formatting (run scripts/format.sh)\n${err}")
endif()
