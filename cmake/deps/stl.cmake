# STL benchmark: assimp's STL import is the peer, measured in the same run.
# Only the benchmark links it; without it the benchmark runs alone.
if(TARGET stl_bench)
  find_package(assimp QUIET)
  if(assimp_FOUND)
    target_link_libraries(stl_bench PRIVATE assimp::assimp)
    target_compile_definitions(stl_bench PRIVATE PFX_HAVE_ASSIMP=1)
  else()
    message(STATUS "assimp not found: stl_bench runs without its peer")
  endif()
endif()
