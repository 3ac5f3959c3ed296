// libFuzzer entry for the OBJ parser: any bytes parse without reading or
// writing outside the input and the lists, and the lists stay consistent.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "exchange/obj_parse.h"
#include "polyfex.h"

namespace {
void quiet(unsigned int, const wchar_t*, void*) {}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Tarnwick_Set_Handler(&quiet, nullptr);
    const char* begin = reinterpret_cast<const char*>(data);
    pfx::ObjLists lists;
    if (pfx::obj_parse(begin, begin + size, L"fuzz", lists) == pfx::ObjParse::Done) {
        // The small forms are chosen only for files that end up with groups.
        if (lists.compact && lists.group_nb == 0) std::abort();
        for (int k = 0; k < lists.group_nb; ++k)
            if (lists.group_start[k] > lists.group_stop[k] || lists.group_stop[k] > lists.poly_nb) std::abort();
        if (pfx::obj_check_references(lists)) {
            for (int i = 0; i < lists.poly_nb; ++i) {
                pfx::ObjFaceView f = pfx::obj_face(lists, i);
                if (f.nb < 0 || f.nb > 4) std::abort();
                for (int j = 0; j < f.nb; ++j) {
                    if (f.v[j] < 0 || f.v[j] >= lists.node_nb) std::abort();
                    if (lists.text_nb && (f.t[j] < 0 || f.t[j] >= lists.text_nb)) std::abort();
                    if (lists.nrml_nb && (f.n[j] < 0 || f.n[j] >= lists.nrml_nb)) std::abort();
                }
            }
        }
    }
    pfx::obj_free_lists(lists);
    return 0;
}
