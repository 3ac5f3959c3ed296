# Drawing tests run in a real OpenGL context without a display: EGL on Mesa's
# surfaceless platform (libegl-dev, libegl-mesa0, libgl1-mesa-dri) and libpng
# for the reference images. Without EGL or libpng the GL tests still build
# and skip; the tests of the plain array builders need neither.
set(PFX_RENDER_GL_TESTS render_movie_ogl_test render_immediate_test render_render_golden_test)

find_package(OpenGL QUIET COMPONENTS EGL)
find_package(PNG QUIET)

foreach(t ${PFX_RENDER_GL_TESTS})
  if(TARGET ${t})
    if(OpenGL_EGL_FOUND AND PNG_FOUND)
      target_link_libraries(${t} PRIVATE OpenGL::EGL PNG::PNG)
      target_compile_definitions(${t} PRIVATE PFX_RENDER_HAVE_EGL=1)
    else()
      target_compile_definitions(${t} PRIVATE PFX_RENDER_HAVE_EGL=0)
    endif()
  endif()
endforeach()
