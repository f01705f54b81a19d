# Threads, and the BLAS/LAPACK backend behind the core's linear-algebra
# routines.
find_package(Threads REQUIRED)
if(WIN32)
  set(QOR_LINALG_LIBRARIES "")
  # Eigen is header-only and the same for every target: take the host's.
  find_path(QOR_EIGEN_INCLUDE Eigen/Dense PATHS /usr/include/eigen3 NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  target_include_directories(qor_core_objects SYSTEM PRIVATE ${QOR_EIGEN_INCLUDE})
  target_compile_definitions(qor_core_objects PRIVATE QOR_LINALG_EIGEN)
else()
  find_library(QOR_OPENBLAS openblas REQUIRED)
  set(QOR_LINALG_LIBRARIES ${QOR_OPENBLAS})
  target_compile_definitions(qor_core_objects PRIVATE QOR_LINALG_OPENBLAS)
endif()
