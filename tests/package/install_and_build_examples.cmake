# Installs the build into a fresh prefix, builds examples/ against the
# installed package with find_package(qor), runs every example, and
# compiles, links and runs one C example with the flags of
# `pkg-config --cflags --libs qor`.
#   cmake -DBUILD_DIR=... -DSOURCE_DIR=... -DWORK_DIR=... [-DLAUNCHER=ccache]
#         [-DC_COMPILER=cc] [-DCXX_COMPILER=c++] -P install_and_build_examples.cmake
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "failed (${rc}): ${ARGN}\n${out}\n${err}")
  endif()
  set(out "${out}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
foreach(file include/qor/qor.h include/qor/qor.hpp lib/cmake/qor/qorConfig.cmake
        lib/cmake/qor/qorConfigVersion.cmake lib/pkgconfig/qor.pc lib/libqor_core.so.3 lib/libqor_sse42.so.3)
  if(NOT EXISTS ${prefix}/${file})
    message(FATAL_ERROR "not installed: ${file}")
  endif()
endforeach()

set(configure_args -G Ninja -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_BUILD_TYPE=Release)
if(LAUNCHER)
  list(APPEND configure_args -DCMAKE_C_COMPILER_LAUNCHER=${LAUNCHER} -DCMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER})
endif()
if(C_COMPILER)
  list(APPEND configure_args -DCMAKE_C_COMPILER=${C_COMPILER} -DCMAKE_CXX_COMPILER=${CXX_COMPILER})
endif()
run(${CMAKE_COMMAND} -S ${SOURCE_DIR}/examples -B ${WORK_DIR}/examples ${configure_args})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/examples -j2)
foreach(family vm random stats fit)
  foreach(lang c cpp)
    run(${WORK_DIR}/examples/example_${family}_${lang})
    string(LENGTH "${out}" length)
    if(length LESS 40)
      message(FATAL_ERROR "example_${family}_${lang} printed too little:\n${out}")
    endif()
    message(STATUS "example_${family}_${lang}:\n${out}")
  endforeach()
endforeach()

# The pkg-config route: flags that compile and link a C example.
set(ENV{PKG_CONFIG_PATH} ${prefix}/lib/pkgconfig)
run(pkg-config --cflags --libs qor)
string(STRIP "${out}" flags)
separate_arguments(flags UNIX_COMMAND "${flags}")
if(NOT C_COMPILER)
  set(C_COMPILER cc)
endif()
run(${C_COMPILER} ${SOURCE_DIR}/examples/stats.c ${flags} -o ${WORK_DIR}/stats_pkg_config)
set(ENV{LD_LIBRARY_PATH} ${prefix}/lib)
run(${WORK_DIR}/stats_pkg_config)
if(NOT out MATCHES "correlation of height and weight")
  message(FATAL_ERROR "the pkg-config build printed:\n${out}")
endif()
