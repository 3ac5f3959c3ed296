/* A small host: builds a two-triangle object in memory, measures it, merges
   a second object into it, and prints the version and every message the
   library sent. */
#include <stdio.h>
#include <stdlib.h>

#include "polyfex.h"

static void print_line(unsigned int flag, const wchar_t* line, void* user)
{
    (void)user;
    printf("  [0x%08X] ", flag);
    for (const wchar_t* p = line; *p; ++p) {
        unsigned c = (unsigned)*p;
        if (c == 0xF1 || c == 0x01 || c == 0x02 || c == 0x04 || c == 0x05) continue;
        putchar(c < 0x80 ? (int)c : '?');
    }
    putchar('\n');
}

static Movie_Objs* square(float z)
{
    Movie_Objs* o = (Movie_Objs*)calloc(1, sizeof(Movie_Objs));
    const float xy[4][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    o->Flags = GEOM_POLY;
    o->Node_Nb = 4;
    o->Node_Pt = (Movie_Node*)calloc(4, sizeof(Movie_Node));
    for (int i = 0; i < 4; ++i) {
        o->Node_Pt[i].Coord.x = xy[i][0];
        o->Node_Pt[i].Coord.y = xy[i][1];
        o->Node_Pt[i].Coord.z = z;
    }
    o->Poly_Nb = 2;
    o->Poly_Pt = (Movie_Poly*)calloc(2, sizeof(Movie_Poly));
    const int tri[2][3] = {{0, 1, 2}, {0, 2, 3}};
    for (int p = 0; p < 2; ++p) {
        o->Poly_Pt[p].Node_Id_Nb = 3;
        for (int j = 0; j < 3; ++j) o->Poly_Pt[p].Node_Id[j] = tri[p][j];
    }
    return o;
}

int main(void)
{
    Tarnwick_Set_Handler(print_line, NULL);
    printf("library: %s\n", Get_Version_3D(NULL));

    Movie_Objs* a = square(0.0f);
    Movie_Objs* b = square(2.0f);
    Movie_Init_Dim(a);
    printf("object a: %d nodes, %d polygons, %u bytes, box (%g %g %g)-(%g %g %g)\n", a->Node_Nb, a->Poly_Nb,
           Movie_Memory(a), a->Box_Min.x, a->Box_Min.y, a->Box_Min.z, a->Box_Max.x, a->Box_Max.y, a->Box_Max.z);

    Movie_Objs* m = Movie_Merge(a, b);
    Movie_Init_Dim(m);
    printf("merged:   %d nodes, %d polygons, %u bytes, box (%g %g %g)-(%g %g %g)\n", m->Node_Nb, m->Poly_Nb,
           Movie_Memory(m), m->Box_Min.x, m->Box_Min.y, m->Box_Min.z, m->Box_Max.x, m->Box_Max.y, m->Box_Max.z);
    printf("messages:\n");
    printf("surface: %g\n", Movie_Surface(m));
    printf("null object surface: %g\n", Movie_Surface(NULL));

    Movie_Free(m);
    free(m);
    free(b); /* its arrays went to the merged object */
    return 0;
}
