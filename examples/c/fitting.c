/* Data fitting: a natural cubic spline through half the thickness of a wing profile (NACA 0020), with its values, its
 * slopes and the area below it. */
#include "nvo_ark/fitting.h"
#include <stdio.h>

enum { points = 9, sites = 5 };

int main(void) {
    const double x[points] = {0, 0.025, 0.05, 0.1, 0.2, 0.4, 0.6, 0.8, 1};
    const double y[points] = {0, 0.0436, 0.0592, 0.0780, 0.0956, 0.0967, 0.0761, 0.0437, 0.0021};
    double coeff[4 * (points - 1)]; /* four coefficients a cell */
    DFTask1D* task = NULL;
    int32_t status = nvo_df_kernel_dNewTask1D(&task, points, x, DF_GRID_IRREGULAR, 1, y, DF_Y_DEFAULT, 0);
    if (status == DF_ST_OK)
        status = nvo_df_kernel_dEditPPSpline1D(task, 4, DF_TYPE_NATURAL, DF_BC_FREE_END, NULL, 0, NULL, coeff, 0);
    if (status == DF_ST_OK) status = nvo_df_kernel_dDFNaturalCubicSpline1D(task, 0, 0, NULL);

    /* The value and the first derivative at each site. */
    const double site[sites] = {0.01, 0.15, 0.3, 0.5, 0.9}, left = 0, right = 1;
    const int32_t orders[2] = {1, 1};
    double r[2 * sites], area;
    if (status == DF_ST_OK)
        status = nvo_df_kernel_dDFInterpolate1D(task, 1, 0, sites, site, DF_SITE_SORTED, 2, orders, NULL, r, 0, NULL,
                                                NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL);
    if (status == DF_ST_OK)
        status = nvo_df_kernel_dDFIntegrate1D(task, 0, 1, &left, 0, &right, 0, NULL, NULL, &area, 0, NULL, NULL, NULL,
                                              NULL, NULL, NULL, NULL, NULL, NULL);
    if (status == DF_ST_OK) {
        printf("    x   thickness     slope\n");
        for (int i = 0; i < sites; ++i) printf("%5.2f   %9.5f %9.4f\n", site[i], r[2 * i], r[2 * i + 1]);
        printf("area %.5f\n", area);
    } else {
        fprintf(stderr, "status %d\n", (int)status);
    }
    nvo_df_kernel_DeleteTask(&task);
    return status == DF_ST_OK ? 0 : 1;
}
