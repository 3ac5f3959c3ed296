/* A host written in C: the public header compiles as C11 and the shared
   module links and runs. Exits non-zero on the first wrong result. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "polyfex.h"

static int lines_seen;
static void count_lines(unsigned int flag, const wchar_t* line, void* user)
{
    (void)flag;
    (void)line;
    (void)user;
    ++lines_seen;
}

int main(void)
{
    Tarnwick_Set_Handler(count_lines, NULL);
    Movie_Objs* obj = (Movie_Objs*)calloc(1, sizeof(Movie_Objs));
    obj->Node_Nb = 3;
    obj->Node_Pt = (Movie_Node*)calloc(3, sizeof(Movie_Node));
    obj->Node_Pt[1].Coord.x = 2.0f;
    obj->Node_Pt[2].Coord.y = 3.0f;
    if (!Movie_Init_Dim(obj)) return 1;
    if (obj->Box_Max.x != 2.0f || obj->Box_Max.y != 3.0f || obj->Matrix.m[0][0] != 1.0) return 2;
    if (Movie_Memory(obj) != 6u * 96u) return 3;
    const char* v = Get_Version_3D("5.2");
    if (!v || strcmp(v, "Polyfex.dll 5.2 (rev-b)") != 0) {
        printf("version: %s\n", v ? v : "(null)");
        return 4;
    }
    if (Get_Version_3D("5.3") != NULL) return 5;
    if (!Movie_Free(obj)) return 6;
    free(obj);
    printf("C host: ok\n");
    return 0;
}
