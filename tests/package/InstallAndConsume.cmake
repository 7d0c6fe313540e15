# Installs the built library into WORK_DIR/prefix, configures and builds the consumer
# against it, and runs the consumer. Any failing step fails the test with its output.
file(REMOVE_RECURSE "${WORK_DIR}")
set(prefix "${WORK_DIR}/prefix")

function(run_step name)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE out
                    ERROR_VARIABLE err)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${name} failed (${result}):\n${out}\n${err}")
    endif()
    set(step_output "${out}" PARENT_SCOPE)
endfunction()

run_step(install "${CMAKE_COMMAND}" --install "${KESTRUM_BINARY_DIR}" --prefix "${prefix}")

# Only public headers are installed.
file(GLOB_RECURSE private_headers "${prefix}/include/*Private.h")
if(private_headers)
    message(FATAL_ERROR "private headers were installed: ${private_headers}")
endif()

# A library built with the sanitizers needs their runtime in the application too.
set(flags)
if(SANITIZE)
    set(flags -DCMAKE_CXX_FLAGS=-fsanitize=address,undefined
              -DCMAKE_EXE_LINKER_FLAGS=-fsanitize=address,undefined)
endif()
run_step(configure "${CMAKE_COMMAND}" -S "${CONSUMER_SOURCE_DIR}" -B "${WORK_DIR}/build"
         -G "${GENERATOR}" -DCMAKE_CXX_COMPILER=${CXX_COMPILER}
         -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_BUILD_TYPE=Release ${flags})
run_step(build "${CMAKE_COMMAND}" --build "${WORK_DIR}/build")
run_step(run "${WORK_DIR}/build/consumer")
if(NOT step_output MATCHES "task 1 starts day 8554 at 8:00, ends day 8554 at 17:00")
    message(FATAL_ERROR "unexpected output of the consumer:\n${step_output}")
endif()
message(STATUS "${step_output}")
