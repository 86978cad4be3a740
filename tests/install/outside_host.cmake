# SPDX-License-Identifier: MPL-2.0

# Installs the library, builds a host of its own against the installed tree, and indexes with it.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  message("${output}")
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "failed: ${ARGN}")
  endif()
endfunction()

file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK}/stick)
file(COPY ${SONG} DESTINATION ${WORK}/stick)
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/prefix)
run(${CMAKE_COMMAND} -S ${SOURCE} -B ${WORK}/build -G Ninja -DCMAKE_PREFIX_PATH=${WORK}/prefix
    -DCMAKE_FIND_ROOT_PATH=${WORK}/prefix -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}
    -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_CXX_FLAGS=${FLAGS})
run(${CMAKE_COMMAND} --build ${WORK}/build)
run(${EMULATOR} ${WORK}/build/outside ${WORK}/stick ${WORK}/databases)

if(EMULATOR)
  return() # the installed command cannot start the tag reader, which needs the emulator, too
endif()
# The installed command finds the installed tag reader, wherever both are.
set(ENV{LD_LIBRARY_PATH} ${WORK}/prefix/lib)
execute_process(COMMAND ${EMULATOR} ${WORK}/prefix/bin/orvel index ${WORK}/stick --db-dir ${WORK}/isolated --json
                OUTPUT_VARIABLE report COMMAND_ERROR_IS_FATAL ANY)
if(NOT report MATCHES "\"isolation_failed\":false")
  message(FATAL_ERROR "tags were not read in isolation: ${report}")
endif()
