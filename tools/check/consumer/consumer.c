/* A user of the installed library, in what C and C++ have in common. */
#include <nvo_ark/vector_math.h>
#include <stdio.h>

int main(void) {
    const double x[5] = {0.25, 1, 4, 9, -1};
    const double want[4] = {0.5, 1, 2, 3};
    double y[5];
    int i;
    _arkdSqrt(5, x, y);
    for (i = 0; i < 4; ++i) {
        if (y[i] != want[i]) return fprintf(stderr, "sqrt(%g) came out as %g\n", x[i], y[i]), 1;
    }
    if (_arkGetErrStatus() != ARK_STATUS_DOMAIN) return fprintf(stderr, "sqrt(-1) was not reported\n"), 1;
    return 0;
}
