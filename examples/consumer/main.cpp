// Builds against an installed Kesto2 and checks a piece of it works.
#include <cstdio>

#include "core/Matrix.h"
#include "gl/Environment.h"

int main() {
    kesto::Matrix turn;
    turn.setAsRotationZ(90.0f);
    kesto::Vector out;
    turn.transformPosition(kesto::Vector(1.0f, 0.0f, 0.0f), &out);
    kesto::Environment environment;  // no display needed until init
    std::printf("(1, 0, 0) turned a quarter: (%.3f, %.3f, %.3f)\n", out.x, out.y, out.z);
    return (out.y > 0.999f && out.y < 1.001f) ? 0 : 1;
}
