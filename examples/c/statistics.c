/* Statistics: data that come in two portions give the moments of the whole, without being held. */
#include "nvo_ark/statistics.h"
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

static void check(const char* call, int32_t status) {
    if (status == OST_STAT_OK) return;
    fprintf(stderr, "%s: status %d\n", call, (int)status);
    exit(1);
}

int main(void) {
    /* Two variables, height in cm and weight in kg, one row of observations each. */
    const double monday[2][4] = {{178, 165, 191, 172}, {74, 58, 92, 66}};
    const double tuesday[2][3] = {{169, 183, 176}, {61, 80, 79}};
    const int32_t p = 2, rows = OST_STAT_STORAGE_ROWS, full = OST_STAT_MATRIX_FULL;
    int32_t n = 4;
    double mean[2], raw_2[2], variance[2], cov[2][2], weights_so_far[2] = {0, 0};

    OstSSTask* task;
    check("new task", __ostdSSNewTask(&task, &p, &n, &rows, &monday[0][0], NULL, NULL, 0));
    check("moments", __ostdSSEditMoments(task, mean, raw_2, NULL, NULL, variance, NULL, NULL));
    check("covariance", __ostdSSEditCovCor(task, mean, &cov[0][0], &full, NULL, NULL));
    check("weights", __ostdSSEditTask(task, OST_STAT_PARAM_ACCUMULATED_WEIGHTS, weights_so_far));

    const uint64_t estimates = OST_STAT_EST_RAW1 | OST_STAT_EST_CENTRAL2 | OST_STAT_EST_COV;
    check("Monday", _ostdSSBasic(task, estimates, OST_STAT_METHOD_ONE_PASS, NULL));
    printf("after %.0f people: %.2f +- %.2f cm, %.2f +- %.2f kg\n", weights_so_far[0], mean[0], sqrt(variance[0]),
           mean[1], sqrt(variance[1]));

    n = 3; /* the task reads the count anew */
    check("new data", __ostdSSEditTask(task, OST_STAT_PARAM_DATA, &tuesday[0][0]));
    check("Tuesday", _ostdSSBasic(task, estimates, OST_STAT_METHOD_ONE_PASS, NULL));
    printf("after %.0f people: %.2f +- %.2f cm, %.2f +- %.2f kg, correlation %.3f\n", weights_so_far[0], mean[0],
           sqrt(variance[0]), mean[1], sqrt(variance[1]), cov[0][1] / sqrt(cov[0][0] * cov[1][1]));

    check("delete", __ostSSDeleteTask(&task));
    return 0;
}
