# qhull: the peer of the hull engine's cross-check test and benchmark. It is
# never linked into the library; without it the cross-check skips and the
# benchmark runs the engine alone.
if(TARGET hull_quickhull_clouds_test OR TARGET hull_bench)
  find_package(Qhull CONFIG QUIET)
endif()
foreach(t hull_quickhull_clouds_test hull_bench)
  if(TARGET ${t} AND TARGET Qhull::qhull_r)
    target_link_libraries(${t} PRIVATE Qhull::qhull_r)
    target_compile_definitions(${t} PRIVATE PFX_HAVE_QHULL=1)
  endif()
endforeach()
if(TARGET hull_quickhull_clouds_test AND NOT TARGET Qhull::qhull_r)
  message(STATUS "qhull not found: the hull cross-check will skip")
endif()
