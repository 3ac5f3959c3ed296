// The reference scene: a lit, coloured sample object drawn flat and smooth,
// from buffers and in immediate mode, read back as pixels. Shared by the
// golden-image test and the tool that regenerates its references, so both
// draw exactly the same thing.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "egl_context.h"
#include "png_io.h"
#include "polyfex.h"

namespace pfx_render_test {

constexpr int kSceneSize = 96;

// One variant of the scene: its reference file name, the draw mode, and
// whether the object may use buffers (else it carries NO_VBO and is drawn
// polygon by polygon).
struct SceneVariant {
    const char* file;
    short mode;
    bool buffers;
};
constexpr SceneVariant kSceneVariants[] = {
    {"flat_buffers.png", 2, true},
    {"smooth_buffers.png", 1, true},
    {"flat_immediate.png", 2, false},
    {"smooth_immediate.png", 1, false},
};

// A unit sphere of kStacks bands of kSlices polygons: triangle fans at the
// poles, quads between them, all counter-clockwise seen from outside. Node
// colours follow the position; every seventh polygon has its own colour.
// Node normals are the exact sphere normals and polygon normals the normals
// of their first three corners. Positions are left for the draw to compute.
inline Movie_Objs* make_sample_object()
{
    constexpr int kStacks = 8, kSlices = 12;
    constexpr double kPi = 3.14159265358979323846;
    Movie_Objs* obj = static_cast<Movie_Objs*>(std::calloc(1, sizeof(Movie_Objs)));
    obj->Flags = GEOM_POLY | COLORED;
    obj->Matrix.init();
    obj->Node_Nb = 2 + (kStacks - 1) * kSlices;
    obj->Node_Pt = static_cast<Movie_Node*>(std::calloc(obj->Node_Nb, sizeof(Movie_Node)));
    auto set_node = [&](int i, double x, double y, double z) {
        Movie_Node& n = obj->Node_Pt[i];
        n.Coord = Vector_4{float(x), float(y), float(z), 0.0f};
        n.Normal = Vector_4{float(x), float(y), float(z), 1.0f};
        const uint8_t rgba[4] = {uint8_t(40 + 200 * (x + 1) / 2), uint8_t(40 + 200 * (y + 1) / 2),
                                 uint8_t(40 + 200 * (z + 1) / 2), 255};
        std::memcpy(&n.Color, rgba, 4);
    };
    set_node(0, 0, 1, 0);                  // north pole
    set_node(obj->Node_Nb - 1, 0, -1, 0); // south pole
    for (int s = 1; s < kStacks; ++s) {
        const double theta = kPi * s / kStacks;
        for (int k = 0; k < kSlices; ++k) {
            const double phi = 2 * kPi * k / kSlices;
            set_node(1 + (s - 1) * kSlices + k, std::sin(theta) * std::cos(phi), std::cos(theta),
                     -std::sin(theta) * std::sin(phi));
        }
    }
    auto ring = [&](int s, int k) { return 1 + (s - 1) * kSlices + (k % kSlices); };

    obj->Poly_Nb = kStacks * kSlices;
    obj->Poly_Pt = static_cast<Movie_Poly*>(std::calloc(obj->Poly_Nb, sizeof(Movie_Poly)));
    int p = 0;
    auto add = [&](std::initializer_list<int> corners) {
        Movie_Poly& poly = obj->Poly_Pt[p];
        poly.Node_Id_Nb = int(corners.size());
        int j = 0;
        for (int c : corners) poly.Node_Id[j++] = c;
        const Vector_4& a = obj->Node_Pt[poly.Node_Id[0]].Coord;
        const Vector_4& b = obj->Node_Pt[poly.Node_Id[1]].Coord;
        const Vector_4& c = obj->Node_Pt[poly.Node_Id[2]].Coord;
        const double ux = b.x - a.x, uy = b.y - a.y, uz = b.z - a.z;
        const double vx = c.x - a.x, vy = c.y - a.y, vz = c.z - a.z;
        double nx = uy * vz - uz * vy, ny = uz * vx - ux * vz, nz = ux * vy - uy * vx;
        const double len = std::sqrt(nx * nx + ny * ny + nz * nz);
        poly.Normal = Vector_4{float(nx / len), float(ny / len), float(nz / len), 1.0f};
        if (p % 7 == 3) {
            const uint8_t own[4] = {250, 210, 40, 255};
            std::memcpy(&poly.Color, own, 4);
        }
        ++p;
    };
    for (int k = 0; k < kSlices; ++k) add({0, ring(1, k), ring(1, k + 1)});
    for (int s = 1; s + 1 < kStacks; ++s)
        for (int k = 0; k < kSlices; ++k)
            add({ring(s, k), ring(s + 1, k), ring(s + 1, k + 1), ring(s, k + 1)});
    for (int k = 0; k < kSlices; ++k) add({obj->Node_Nb - 1, ring(kStacks - 1, k + 1), ring(kStacks - 1, k)});
    return obj;
}

// The host's part of the frame: projection, a turned view, one directional
// light and depth testing. Colour tracking is the library's business.
inline void setup_scene()
{
    glViewport(0, 0, kSceneSize, kSceneSize);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(-1.25, 1.25, -1.25, 1.25, -5, 5);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    const GLfloat light_dir[4] = {0.4f, 0.6f, 1.0f, 0.0f};
    glLightfv(GL_LIGHT0, GL_POSITION, light_dir);
    glRotatef(25, 1, 0, 0);
    glRotatef(-35, 0, 1, 0);
    glEnable(GL_LIGHTING);
    glEnable(GL_LIGHT0);
    glEnable(GL_DEPTH_TEST);
    glClearColor(0.1f, 0.1f, 0.15f, 1.0f);
}

// Draws one variant of the scene into the current context's back buffer and
// reads it back.
inline Image render_variant(const SceneVariant& v)
{
    setup_scene();
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    Movie_Objs* obj = make_sample_object();
    if (!v.buffers) obj->Flags |= NO_VBO;
    Movie_OpenGL_Draw(obj, v.mode, 0, 1000);
    glFinish();

    Image img;
    img.width = img.height = kSceneSize;
    img.rgba.resize(size_t(kSceneSize) * kSceneSize * 4);
    std::vector<uint8_t> rows(img.rgba.size());
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, kSceneSize, kSceneSize, GL_RGBA, GL_UNSIGNED_BYTE, rows.data());
    const size_t stride = size_t(kSceneSize) * 4;
    for (int y = 0; y < kSceneSize; ++y) // the GL's bottom row first, the image's top row first
        std::memcpy(&img.rgba[y * stride], &rows[(kSceneSize - 1 - y) * stride], stride);

    // The buffers live in the context; a host deletes them through a reset
    // and a draw before it releases the object.
    Movie_OpenGL_Reset(obj, 7);
    Movie_OpenGL_Draw(obj, v.mode, 1, 0);
    Movie_Free(obj);
    std::free(obj);
    return img;
}

} // namespace pfx_render_test
