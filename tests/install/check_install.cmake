# Installs the build into a scratch prefix, then builds and runs a small C
# program against it twice: with pkg-config and with find_package(moxvc).
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "failed: ${ARGN}\n${out}\n${err}")
  endif()
  set(out "${out}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
file(GLOB pc ${prefix}/lib*/pkgconfig/moxvc.pc ${prefix}/lib/*/pkgconfig/moxvc.pc)
list(GET pc 0 pc)
get_filename_component(pcdir ${pc} DIRECTORY)
foreach(f libmoxvcy8.so libmoxvcy8.so.6 libmoxvcy8.so.6.1 libmoxcore.so libmoxcore.so.6 libmoxcore.so.6.1)
  if(NOT EXISTS ${pcdir}/../${f})
    message(FATAL_ERROR "${f} not installed")
  endif()
endforeach()

# pkg-config
set(ENV{PKG_CONFIG_PATH} ${pcdir})
run(pkg-config --cflags --libs moxvc)
string(STRIP "${out}" flags)
separate_arguments(flags UNIX_COMMAND "${flags}")
run(cc ${SRC_DIR}/consumer.c ${flags} -Wl,-rpath,${pcdir}/.. -o ${WORK_DIR}/consumer_pc)
run(${WORK_DIR}/consumer_pc)
message(STATUS "pkg-config: ${out}")

# find_package
run(${CMAKE_COMMAND} -S ${SRC_DIR} -B ${WORK_DIR}/cm -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_BUILD_RPATH=${pcdir}/..)
run(${CMAKE_COMMAND} --build ${WORK_DIR}/cm)
run(${WORK_DIR}/cm/consumer)
message(STATUS "find_package: ${out}")
