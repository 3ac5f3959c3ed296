// `render` in a build without EGL or libpng: the command says what is missing.
#include "commands.h"
#include "console.h"

namespace polyfex_cli {

const std::vector<std::string>& render_views()
{
    static const std::vector<std::string> names = {"iso", "front", "back", "left",
                                                   "right", "top", "bottom"};
    return names;
}

int run_render(const RenderOptions&)
{
    error_line("render: this polyfex was built without EGL and libpng "
               "(apt-get install libegl-dev libpng-dev, then rebuild)");
    return kExitFailed;
}

} // namespace polyfex_cli
