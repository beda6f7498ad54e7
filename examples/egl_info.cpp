// Opens the EGL display, makes a GLES2 context current on a small pbuffer and prints what the
// GL implementation reports about itself. The smallest check that rendering can work here.
#include <EGL/egl.h>
#include <GLES2/gl2.h>

#include <cstdio>

int main() {
    EGLDisplay display = eglGetDisplay(EGL_DEFAULT_DISPLAY);
    EGLint major = 0;
    EGLint minor = 0;
    if (display == EGL_NO_DISPLAY || !eglInitialize(display, &major, &minor)) {
        std::fprintf(stderr, "cannot open the EGL display (error %04X); is DISPLAY set?\n",
                     eglGetError());
        return 1;
    }
    const EGLint configAttributes[] = {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RENDERABLE_TYPE,
                                       EGL_OPENGL_ES2_BIT, EGL_NONE};
    EGLConfig config = nullptr;
    EGLint count = 0;
    if (!eglChooseConfig(display, configAttributes, &config, 1, &count) || count == 0) {
        std::fprintf(stderr, "no EGL config for GLES2 pbuffers\n");
        eglTerminate(display);
        return 1;
    }
    const EGLint contextAttributes[] = {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE};
    const EGLint surfaceAttributes[] = {EGL_WIDTH, 2, EGL_HEIGHT, 2, EGL_NONE};
    EGLContext context = eglCreateContext(display, config, EGL_NO_CONTEXT, contextAttributes);
    EGLSurface surface = eglCreatePbufferSurface(display, config, surfaceAttributes);
    if (context == EGL_NO_CONTEXT || surface == EGL_NO_SURFACE ||
        !eglMakeCurrent(display, surface, surface, context)) {
        std::fprintf(stderr, "cannot make a GLES2 context current (error %04X)\n", eglGetError());
        eglTerminate(display);
        return 1;
    }
    std::printf("EGL %d.%d, vendor %s\n", major, minor, eglQueryString(display, EGL_VENDOR));
    std::printf("GL renderer: %s\n", glGetString(GL_RENDERER));
    std::printf("GL version:  %s\n", glGetString(GL_VERSION));
    eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    eglDestroySurface(display, surface);
    eglDestroyContext(display, context);
    eglTerminate(display);
    return 0;
}
