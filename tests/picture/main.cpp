// Opens the one window in which all picture tests draw, with the program's display mode, and runs them.
// Everything happens on this thread; the window stays until the process ends.

#include <cstdio>
#include <cstdlib>

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

#include "display/window.h"
#include "picture/picture.h"

static void show_nothing() {}

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    do_without_driver_threads(); // as the program does
    glutInit(&argc, argv);
    glutInitDisplayMode(GLUT_RGB | GLUT_DOUBLE | GLUT_DEPTH);
    glutInitWindowSize(picture::SIDE, picture::SIDE);
    glutCreateWindow("picture tests");
    glutDisplayFunc(show_nothing);
#ifdef __SANITIZE_ADDRESS__
    // The GL driver leaks and is unloaded at exit, when its leaks can no longer be told from ours.
    atexit([] { __lsan_do_leak_check(); });
#endif
    // Until the window is mapped its back buffer has no readable pixels.
    for (int k = 0; k < 3; ++k) glutMainLoopEvent();
    picture::start_state();
    glutSwapBuffers();
    if (glutGet(GLUT_WINDOW_WIDTH) != picture::SIDE || glutGet(GLUT_WINDOW_HEIGHT) != picture::SIDE) {
        fprintf(stderr, "the window is not %d x %d\n", picture::SIDE, picture::SIDE);
        return 1;
    }
    return RUN_ALL_TESTS();
}
