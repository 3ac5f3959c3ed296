// polyfex dump FILE: the library's own dump of every object.
#include "commands.h"
#include "console.h"
#include "mesh_files.h"
#include "object_facts.h"

namespace polyfex_cli {

int run_dump(const DumpOptions& options)
{
    ObjectList objs;
    std::string error;
    if (!read_objects(options.file, objs, error)) {
        error_line(error);
        return kExitBadInput;
    }
    for (size_t i = 0; i < objs.size(); ++i) {
        Movie_Objs* obj = objs[i];
        // note: node normals and links are shown as the library derives them;
        // a file holds neither, so they are computed first for faces.
        if (obj->Node_Nb > 0 && (obj->Flags & GEOM_POLY) && !(obj->Flags & NORMALS_DONE))
            Movie_Init_Norm(obj);
        out_line("object " + std::to_string(i + 1) + ": " + object_name(obj));
        Movie_Stool(obj, kDumpFlag);
    }
    return kExitOk;
}

} // namespace polyfex_cli
