// How the driver is told that swaps do not wait. This program stands before the functions of GLX that ask the driver,
// so that a test can put another driver in its place.
#include "picture/field_fixture.h"

#include "display/loop.h"

#include <dlfcn.h>
#include <GL/glx.h>

namespace {

struct fake_driver_t {
    bool in_use;
    const char* extensions; // may be null
    bool has_functions;
    std::vector<std::string> told; // by which extension, and which interval
};
fake_driver_t fake_driver;

void fake_swap_interval_ext(Display*, GLXDrawable, int interval) {
    fake_driver.told.push_back("EXT " + std::to_string(interval));
}
int fake_swap_interval_mesa(unsigned interval) {
    fake_driver.told.push_back("MESA " + std::to_string(interval));
    return 0;
}

// The function of that name in the library.
template <typename Function> Function real(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

// What a driver with these extensions is told.
std::vector<std::string> told(const char* extensions, bool has_functions = true) {
    fake_driver = {.in_use = true, .extensions = extensions, .has_functions = has_functions, .told = {}};
    let_swaps_not_wait();
    fake_driver.in_use = false;
    return fake_driver.told;
}

const std::vector<std::string> NOTHING;
using Swaps = picture::FieldPicture;

} // namespace

const char* glXQueryExtensionsString(Display* server, int screen) {
    if (fake_driver.in_use) return fake_driver.extensions;
    return real<decltype(&glXQueryExtensionsString)>("glXQueryExtensionsString")(server, screen);
}

__GLXextFuncPtr glXGetProcAddress(const GLubyte* name) {
    if (!fake_driver.in_use) return real<decltype(&glXGetProcAddress)>("glXGetProcAddress")(name);
    if (!fake_driver.has_functions) return nullptr;
    const std::string wanted = reinterpret_cast<const char*>(name);
    if (wanted == "glXSwapIntervalEXT") return reinterpret_cast<__GLXextFuncPtr>(fake_swap_interval_ext);
    if (wanted == "glXSwapIntervalMESA") return reinterpret_cast<__GLXextFuncPtr>(fake_swap_interval_mesa);
    return nullptr;
}

TEST_F(Swaps, do_not_wait_where_the_driver_can_be_told) {
    EXPECT_EQ(told("GLX_ARB_multisample GLX_EXT_swap_control"), std::vector<std::string>{"EXT 0"});
    EXPECT_EQ(told("GLX_MESA_swap_control GLX_ARB_multisample"), std::vector<std::string>{"MESA 0"});
    EXPECT_EQ(told("GLX_MESA_swap_control GLX_EXT_swap_control"), std::vector<std::string>{"EXT 0"});
}

TEST_F(Swaps, a_driver_that_cannot_be_told_is_left_alone) {
    EXPECT_EQ(told("GLX_ARB_multisample"), NOTHING);
    EXPECT_EQ(told(nullptr), NOTHING);
    EXPECT_EQ(told("GLX_EXT_swap_control", false), NOTHING);
    EXPECT_EQ(told("GLX_MESA_swap_control", false), NOTHING);
}
