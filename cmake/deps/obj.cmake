# OBJ reader and writer: tinyobjloader cross-checks the real-model test;
# tinyobjloader and assimp's OBJ import run beside the reader in the
# benchmark. Each is optional: without it the check or the peer is skipped.
if(TARGET exchange_obj_models_test)
  find_package(tinyobjloader QUIET CONFIG)
  if(TARGET tinyobjloader::tinyobjloader)
    target_link_libraries(exchange_obj_models_test PRIVATE tinyobjloader::tinyobjloader)
    target_compile_definitions(exchange_obj_models_test PRIVATE PFX_HAVE_TINYOBJ=1)
  endif()
endif()

if(TARGET obj_bench)
  find_package(tinyobjloader QUIET CONFIG)
  if(TARGET tinyobjloader::tinyobjloader)
    target_link_libraries(obj_bench PRIVATE tinyobjloader::tinyobjloader)
    target_compile_definitions(obj_bench PRIVATE PFX_HAVE_TINYOBJ=1)
  endif()
  find_package(assimp QUIET CONFIG)
  if(TARGET assimp::assimp)
    target_link_libraries(obj_bench PRIVATE assimp::assimp)
    target_compile_definitions(obj_bench PRIVATE PFX_HAVE_ASSIMP=1)
  endif()
endif()
