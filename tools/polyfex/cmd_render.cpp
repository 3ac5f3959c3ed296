// polyfex render IN OUT.png: a picture of the objects, drawn by the library
// into an offscreen OpenGL context.
#include <GL/glew.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "commands.h"
#include "console.h"
#include "gl_offscreen.h"
#include "mesh_files.h"
#include "object_facts.h"
#include "png_out.h"

namespace polyfex_cli {
namespace {

struct View {
    const char* name;
    double eye[3]; // direction from the centre towards the camera
    double up[3];
};

// note: views take z as the vertical axis, as CAD and STL files mostly do;
// `top` then looks down the z axis with y pointing up in the picture.
const View kViews[] = {
    {"iso", {1, -1, 0.8}, {0, 0, 1}},   {"front", {0, -1, 0}, {0, 0, 1}},
    {"back", {0, 1, 0}, {0, 0, 1}},     {"left", {-1, 0, 0}, {0, 0, 1}},
    {"right", {1, 0, 0}, {0, 0, 1}},    {"top", {0, 0, 1}, {0, 1, 0}},
    {"bottom", {0, 0, -1}, {0, -1, 0}},
};

const View* find_view(const std::string& name)
{
    for (const View& v : kViews)
        if (name == v.name)
            return &v;
    return nullptr;
}

void normalise3(double v[3])
{
    const double len = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
    if (len > 0)
        for (int i = 0; i < 3; ++i)
            v[i] /= len;
}

void cross3(const double a[3], const double b[3], double out[3])
{
    out[0] = a[1] * b[2] - a[2] * b[1];
    out[1] = a[2] * b[0] - a[0] * b[2];
    out[2] = a[0] * b[1] - a[1] * b[0];
}

// An orthographic camera that frames the objects' box as seen from the view.
void set_camera(const View& view, const Vector_4& centre, const Vector_4& size, double aspect)
{
    double f[3] = {-view.eye[0], -view.eye[1], -view.eye[2]}; // looking direction
    normalise3(f);
    double s[3], u[3];
    cross3(f, view.up, s);
    normalise3(s);
    cross3(s, f, u);

    // The box's corners on the picture's axes give the extent to frame.
    const double half[3] = {0.5 * size.x, 0.5 * size.y, 0.5 * size.z};
    double extent_s = 0, extent_u = 0;
    for (int corner = 0; corner < 8; ++corner) {
        double d[3];
        for (int i = 0; i < 3; ++i)
            d[i] = (corner >> i) & 1 ? half[i] : -half[i];
        extent_s = std::max(extent_s, std::fabs(d[0] * s[0] + d[1] * s[1] + d[2] * s[2]));
        extent_u = std::max(extent_u, std::fabs(d[0] * u[0] + d[1] * u[1] + d[2] * u[2]));
    }
    double radius = std::sqrt(half[0] * half[0] + half[1] * half[1] + half[2] * half[2]);
    if (!(radius > 0)) {
        radius = 1; // a single point: any frame shows it
        extent_s = extent_u = 1;
    }
    constexpr double kMargin = 1.12;
    double half_w = std::max(extent_s, extent_u * aspect) * kMargin;
    double half_h = half_w / aspect;
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(-half_w, half_w, -half_h, half_h, radius, 5 * radius);

    const double eye[3] = {centre.x - f[0] * 3 * radius, centre.y - f[1] * 3 * radius,
                           centre.z - f[2] * 3 * radius};
    // The view matrix of a camera at `eye` looking along f with u up, column-major.
    const double m[16] = {s[0], u[0], -f[0], 0, s[1], u[1], -f[1], 0,
                          s[2], u[2], -f[2], 0, 0,    0,    0,     1};
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    // Light fixed to the camera: from the upper left, over the viewer's shoulder.
    const GLfloat light_dir[4] = {-0.4f, 0.6f, 1.0f, 0.0f};
    glLightfv(GL_LIGHT0, GL_POSITION, light_dir);
    glMultMatrixd(m);
    glTranslated(-eye[0], -eye[1], -eye[2]);
}

void set_lighting()
{
    const GLfloat ambient[4] = {0.28f, 0.28f, 0.30f, 1.0f};
    const GLfloat diffuse[4] = {0.80f, 0.80f, 0.78f, 1.0f};
    const GLfloat no_specular[4] = {0, 0, 0, 1};
    glLightModelfv(GL_LIGHT_MODEL_AMBIENT, ambient);
    // Both sides lit, in different colours: a surface turned inside out, or
    // an open one seen from within, shows its back in orange.
    glLightModeli(GL_LIGHT_MODEL_TWO_SIDE, GL_TRUE);
    glLightfv(GL_LIGHT0, GL_DIFFUSE, diffuse);
    glLightfv(GL_LIGHT0, GL_SPECULAR, no_specular);
    const GLfloat front[4] = {0.45f, 0.62f, 0.85f, 1.0f};
    const GLfloat back[4] = {0.90f, 0.55f, 0.30f, 1.0f};
    glMaterialfv(GL_FRONT, GL_AMBIENT_AND_DIFFUSE, front);
    glMaterialfv(GL_BACK, GL_AMBIENT_AND_DIFFUSE, back);
    glEnable(GL_LIGHT0);
    glEnable(GL_NORMALIZE);
    glEnable(GL_DEPTH_TEST);
    glDisable(GL_CULL_FACE);
}

bool parse_size(const std::string& text, int& w, int& h)
{
    char tail = 0;
    return std::sscanf(text.c_str(), "%dx%d%c", &w, &h, &tail) == 2;
}

} // namespace

const std::vector<std::string>& render_views()
{
    static const std::vector<std::string> names = [] {
        std::vector<std::string> n;
        for (const View& v : kViews)
            n.push_back(v.name);
        return n;
    }();
    return names;
}

int run_render(const RenderOptions& o)
{
    const View* view = find_view(o.view);
    if (!view) {
        error_line("render: unknown view '" + o.view + "'");
        return kExitBadInput;
    }
    int width = 0, height = 0;
    if (!parse_size(o.size, width, height)) {
        error_line("render: --size takes WxH, such as 800x600 (not '" + o.size + "')");
        return kExitBadInput;
    }
    if (width < 16 || height < 16 || width > 8192 || height > 8192) {
        error_line("render: the size must lie between 16x16 and 8192x8192");
        return kExitBadInput;
    }
    const std::string& out = o.out;
    if (out.size() < 4 || (out.compare(out.size() - 4, 4, ".png") != 0 &&
                           out.compare(out.size() - 4, 4, ".PNG") != 0)) {
        error_line("render: the picture is written as PNG: name it '.png' (" + quoted(out) + ")");
        return kExitBadInput;
    }
    ObjectList objs;
    std::string error;
    if (!read_objects(o.in, objs, error)) {
        error_line(error);
        return kExitBadInput;
    }
    ensure_normals(objs);
    long long polygons = 0, nodes = 0;
    for (Movie_Objs* obj : objs.all()) {
        Movie_Init_Dim(obj);
        polygons += obj->Poly_Nb;
        nodes += obj->Node_Nb;
    }
    if (nodes == 0) {
        error_line("render: " + quoted(o.in) + " holds no nodes to draw");
        return kExitBadInput;
    }
    Vector_4 centre{}, size{};
    Movie_Obj_Center(objs.terminated(), &centre, &size);

    OffscreenGl gl;
    if (!gl.open(width, height, error)) {
        error_line("render: " + error);
        return kExitFailed;
    }
    if (verbose())
        out_line("renderer: " + gl.renderer());
    glClearColor(0.96f, 0.96f, 0.97f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    set_lighting();
    set_camera(*view, centre, size, double(width) / height);
    glLineWidth(2.0f);
    const short mode = o.smooth ? 1 : 2;
    for (Movie_Objs* obj : objs.all()) {
        // Points and lines carry no normal worth lighting: drawn in one colour.
        if (obj->Flags & GEOM_POLY) {
            glEnable(GL_LIGHTING);
        } else {
            glDisable(GL_LIGHTING);
            glColor3f(0.10f, 0.22f, 0.50f);
        }
        // note: part 0 lets the library draw from buffer objects; the part size
        // of 1000 makes its immediate mode (points, lines, mixed objects) draw
        // every polygon.
        Movie_OpenGL_Draw(obj, mode, 0, 1000);
    }
    glFinish();
    if (!write_png(out, width, height, gl.read_pixels(), error)) {
        error_line("cannot write " + quoted(out) + ": " + error);
        return kExitFailed;
    }
    out_line("rendered " + o.in + " (" + count_text(polygons) + " polygons, view " + view->name +
             ", " + (o.smooth ? "smooth" : "flat") + " shading) to " + out + " (" +
             std::to_string(width) + "x" + std::to_string(height) + ")");
    return kExitOk;
}

} // namespace polyfex_cli
