#include "render/gl_draw.h"
#include "render/vbo_build.h"

namespace pfx::render {
namespace {

[[maybe_unused]] constexpr char kModule[] = "movie_OGL";

const GLfloat* pos_of(const Movie_Objs& obj, int node) { return &obj.Node_Pt[node].Pos.x; }

// Points and segments have no plane to take a normal from: they all get the
// same fixed one, and no colour or texture coordinate of their own.
void draw_point_or_line(const Movie_Objs& obj, const Movie_Poly& poly)
{
    glBegin(poly.Node_Id_Nb == 1 ? GL_POINTS : GL_LINES);
    glNormal3f(0.0f, 0.0f, -1.0f);
    for (int j = 0; j < poly.Node_Id_Nb; ++j) glVertex3fv(pos_of(obj, poly.Node_Id[j]));
    glEnd();
}

void draw_flat(const Movie_Objs& obj, const Movie_Poly& poly, bool colored)
{
    glNormal3fv(&poly.Normal.x);
    if (colored) {
        const Rgba c = color_bytes(flat_color(obj, poly));
        glColor3ub(c.r, c.g, c.b);
    }
    for (int j = poly.Node_Id_Nb - 1; j >= 0; --j) glVertex3fv(pos_of(obj, poly.Node_Id[j]));
}

void draw_smooth(const Movie_Objs& obj, const Movie_Poly& poly, bool colored)
{
    for (int j = poly.Node_Id_Nb - 1; j >= 0; --j) {
        const Movie_Node& node = obj.Node_Pt[poly.Node_Id[j]];
        if (colored) {
            const Rgba c = color_bytes(node.Color);
            glColor3ub(c.r, c.g, c.b);
        }
        if (obj.Text_Nb != 0) glTexCoord2fv(obj.Text_Pt + 2 * static_cast<long long>(poly.Text_Id[j]));
        if (obj.Normal_Nb != 0)
            glNormal3fv(obj.Normal_Pt + 3 * static_cast<long long>(poly.Normal_Id[j]));
        else
            glNormal3fv(&node.Normal.x);
        glVertex3fv(&node.Pos.x);
    }
}

void draw_polygon(const Movie_Objs& obj, const Movie_Poly& poly, bool flat, bool colored)
{
    switch (poly.Node_Id_Nb) {
    case 1:
    case 2: draw_point_or_line(obj, poly); return;
    case 3: glBegin(GL_TRIANGLES); break;
    case 4: glBegin(GL_QUADS); break;
    default: return;
    }
    if (flat)
        draw_flat(obj, poly, colored);
    else
        draw_smooth(obj, poly, colored);
    glEnd();
}

} // namespace

void draw_polygons(const Movie_Objs& obj, bool flat, long long first, long long end)
{
    const bool colored = (obj.Flags & COLORED) != 0;
    for (long long k = first; k < end; ++k) draw_polygon(obj, obj.Poly_Pt[k], flat, colored);
}

} // namespace pfx::render
