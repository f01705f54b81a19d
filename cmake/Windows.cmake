# Settings of the Windows build (native or cross-compiled with MinGW-w64),
# included before any target is made.

# Programs and DLLs share one directory, as on a user's machine: Windows
# finds a program's DLLs beside it, and the core finds the kernel DLL beside
# itself.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)

# Cross-compiled test programs run through Wine, in a prefix of this build
# (created on first use) with Wine's own diagnostics off and no display.
if(CMAKE_CROSSCOMPILING)
  find_program(QOR_WINE64 wine64 PATHS /usr/lib/wine NO_CMAKE_FIND_ROOT_PATH)
  if(QOR_WINE64)
    get_filename_component(QOR_WINE_DIR ${QOR_WINE64} DIRECTORY)
    set(QOR_WINE_PREFIX ${PROJECT_BINARY_DIR}/wineprefix)
    configure_file(${CMAKE_CURRENT_LIST_DIR}/wine-run.sh.in ${PROJECT_BINARY_DIR}/wine-run.sh
                   FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                                    WORLD_READ WORLD_EXECUTE @ONLY)
    set(CMAKE_CROSSCOMPILING_EMULATOR ${PROJECT_BINARY_DIR}/wine-run.sh)
  endif()
  # Tests are listed when CTest runs, not at build time, so building needs
  # no Wine.
  set(CMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE PRE_TEST)
  # An emulator can turn a crash into exit code 0, so a test passes only on
  # GoogleTest's own summary line of one test passed (or skipped).
  set(QOR_GTEST_RESULT_PROPERTIES
      PASS_REGULAR_EXPRESSION "\\[  PASSED  \\] 1 test\\.|\\[  SKIPPED \\] 1 test,"
      FAIL_REGULAR_EXPRESSION "\\[  FAILED  \\]")
endif()

# Test and tool sources that need an oracle library with no Windows build here
# (MPFR, GMP, SLEEF, Boost, GSL), directly or through the project headers they include,
# are left out of the Windows build; they run on Linux.
function(qor_exclude_host_oracle_sources sources_var)
  set(kept)
  foreach(src ${${sources_var}})
    qor_needs_host_oracle(${src} needs)
    if(NOT needs)
      list(APPEND kept ${src})
    endif()
  endforeach()
  set(${sources_var} ${kept} PARENT_SCOPE)
endfunction()

function(qor_needs_host_oracle file out_var)
  set(${out_var} FALSE PARENT_SCOPE)
  if(NOT EXISTS ${file})
    return()
  endif()
  file(STRINGS ${file} includes REGEX "^[ \t]*#[ \t]*include[ \t]*[<\"]")
  get_filename_component(dir ${file} DIRECTORY)
  foreach(line ${includes})
    if(line MATCHES "[<\"](mpfr|mpc|gmp|sleef)[a-z0-9_]*\\.h[>\"]" OR line MATCHES "<(boost|gsl)/")
      set(${out_var} TRUE PARENT_SCOPE)
      return()
    endif()
    # A quoted include: beside the file, from the top of the tree, or from
    # the tests' own directory (their support headers).
    if(line MATCHES "\"([^\"]+)\"")
      foreach(local ${dir}/${CMAKE_MATCH_1} ${PROJECT_SOURCE_DIR}/${CMAKE_MATCH_1}
                    ${PROJECT_SOURCE_DIR}/tests/${CMAKE_MATCH_1})
        get_filename_component(local ${local} ABSOLUTE)
        if(EXISTS ${local} AND NOT local IN_LIST QOR_ORACLE_SCAN_SEEN)
          list(APPEND QOR_ORACLE_SCAN_SEEN ${local})
          qor_needs_host_oracle(${local} nested)
          if(nested)
            set(${out_var} TRUE PARENT_SCOPE)
            return()
          endif()
        endif()
      endforeach()
    endif()
  endforeach()
endfunction()

# What every test program of the Windows build gets: the POSIX calls the
# suites use (setenv, dlopen, KilledBySignal, ...) over Windows, included
# ahead of each source.
function(qor_windows_test_program name)
  set(posix ${PROJECT_SOURCE_DIR}/tests/win/posix)
  target_sources(${name} PRIVATE ${posix}/posix_compat.cpp)
  target_include_directories(${name} BEFORE PRIVATE ${posix})
  target_compile_options(${name} PRIVATE -include ${posix}/posix_compat.h)
  target_link_libraries(${name} PRIVATE psapi)
  # MinGW's GCC 12 emits the TLS initialisation function of an inline
  # thread_local variable (a test helper's static member) as a plain
  # definition in every object instead of a mergeable one; the copies are
  # identical, so the linker may keep the first.
  target_link_options(${name} PRIVATE -Wl,--allow-multiple-definition)
endfunction()
