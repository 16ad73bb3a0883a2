# Installs the library into an empty prefix, builds the consumer project against it and runs the result.
# Variables: BUILD, CONSUMER, TOOLCHAIN, GENERATOR, CONFIG.
set(work ${BUILD}/package-test)
file(REMOVE_RECURSE ${work})

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${ARGN}\nfailed with ${result}:\n${output}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD} --config ${CONFIG} --prefix ${work}/prefix)
# Moved after the installation: the package must not remember where it was installed.
file(RENAME ${work}/prefix ${work}/moved)
run(${CMAKE_COMMAND} -S ${CONSUMER} -B ${work}/build -G ${GENERATOR} -DCMAKE_BUILD_TYPE=${CONFIG}
    -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN} -DCMAKE_PREFIX_PATH=${work}/moved)
run(${CMAKE_COMMAND} --build ${work}/build --config ${CONFIG})
run(${CMAKE_COMMAND} --build ${work}/build --config ${CONFIG} --target run_consumer)
if(NOT output MATCHES "consumer: all good")
    message(FATAL_ERROR "The consumer did not report success:\n${output}")
endif()
message("${output}")
