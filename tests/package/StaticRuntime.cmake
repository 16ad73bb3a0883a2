# Builds the library with the C++ runtime inside, and does with it what RunConsumer.cmake does with the other one.
# Variables: SOURCE; BUILD, a folder for the build; WARNINGS_AS_ERRORS; the others of RunConsumer.cmake.
function(run_cmake)
    execute_process(COMMAND ${CMAKE_COMMAND} ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "cmake ${ARGN}\nfailed with ${result}:\n${output}")
    endif()
endfunction()

run_cmake(-S ${SOURCE} -B ${BUILD} -G ${GENERATOR} -DCMAKE_BUILD_TYPE=${CONFIG} -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}
          -DTARNU_WARNINGS_AS_ERRORS=${WARNINGS_AS_ERRORS} # as in the other build, for the compiler's cache
          -DTARNU_STATIC_RUNTIME=ON -DTARNU_BUILD_TOOLS=OFF -DTARNU_BUILD_TESTS=OFF)
# One job, because it is one of several tests that run together.
run_cmake(--build ${BUILD} --config ${CONFIG} --target Win32Utils --parallel 1)

set(STATIC_RUNTIME ON)
include(${CMAKE_CURRENT_LIST_DIR}/RunConsumer.cmake)
