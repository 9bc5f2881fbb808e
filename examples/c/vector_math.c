/* Vector math from C: square roots of a whole array, with a look at what went wrong and a function that mends it. */
#include "nvo_ark/vector_math.h"

#include <stdio.h>

enum { count = 5 };

static const double areas[count] = {2.0, 9.0, -4.0, 0.25, 1e300};

/* Called for every bad element while the callback is set: takes the root of the magnitude instead. */
static int32_t root_of_magnitude(ArkErrorRecord* record) {
    double magnitude;
    _arkdAbs(1, &record->arg1, &magnitude);
    _arkdSqrt(1, &magnitude, &record->res1);
    return 0; /* store res1 into the result vector */
}

static void print(const char* title, const double* sides) {
    printf("%s\n", title);
    for (int i = 0; i < count; ++i) printf("    sqrt(%g) = %.17g\n", areas[i], sides[i]);
    /* A call doesn't clear the status at its start: take it and clear it in one. */
    printf("    status %d\n", (int)_arkClearErrStatus());
}

int main(void) {
    double sides[count];

    _arkSetMode(ARK_ERRMODE_IGNORE); /* no errno, no exception: the status is enough */
    _arkdSqrt(count, areas, sides);
    print("As computed (status 1: an element outside the domain):", sides);

    _arkSetErrorCallBack(root_of_magnitude);
    _arkSetMode(ARK_ERRMODE_CALLBACK);
    _arkdSqrt(count, areas, sides);
    print("With the bad element mended by a callback:", sides);
    _arkClearErrorCallBack();

    /* Strides count elements: every other area, and a constant operand as a vector of stride 0. */
    const double tenth = 0.1;
    double scaled[(count + 1) / 2];
    _arkdMulI((count + 1) / 2, areas, 2, &tenth, 0, scaled, 1);
    printf("Every other area, times 0.1:\n    %g  %g  %g\n", scaled[0], scaled[1], scaled[2]);
    return 0;
}
