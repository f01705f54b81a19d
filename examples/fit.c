/* Data fitting in C: a natural cubic spline through eight samples of sin
 * on [0, pi], evaluated between the samples beside sin itself, and its
 * integral over [0, pi] (exactly 2 for sin). */
#include <math.h>
#include <stdio.h>

#include <qor/qor.h>

int main(void) {
    enum { NX = 8, NS = 5 };
    const double pi = 3.14159265358979323846;
    double x[NX], y[NX], coeff[4 * (NX - 1)];
    for (int i = 0; i < NX; ++i) {
        x[i] = pi * i / (NX - 1);
        y[i] = sin(x[i]);
    }
    double site[NS] = {0.1, 0.7, 1.3, 2.2, 3.0}, value[NS], a = 0, b = pi, area;
    int64_t values_only[1] = {1};
    qor_fit_task* task = NULL;

    int status = qor_dfit_new_task(&task, NX, x, hintPartitionNonUniform, 1, y, hintValuesDefault);
    if (status == 0) status = qor_dfit_edit_pp_spline(task, 4, 0, bcFreeEnd, NULL, 0, NULL, coeff, hintValuesDefault);
    if (status == 0) status = qor_dfit_construct(task, QOR_FIT_NATURAL_CUBIC, 0);
    if (status == 0)
        status = qor_dfit_interpolate(task, computeValues, 0, NS, site, hintSitesSorted, 1, values_only, NULL, value,
                                      hintResultByFunction, NULL);
    if (status == 0)
        status = qor_dfit_integrate(task, 0, 1, &a, 0, &b, 0, NULL, NULL, &area, hintResultByFunction);
    qor_fit_delete_task(&task);
    if (status != 0) {
        fprintf(stderr, "qor: %s (status %d)\n", qor_status_string(status), status);
        return 1;
    }
    printf("%6s %12s %12s %10s\n", "t", "spline", "sin", "error");
    for (int i = 0; i < NS; ++i) printf("%6.2f %12.8f %12.8f %10.2e\n", site[i], value[i], sin(site[i]), value[i] - sin(site[i]));
    printf("integral over [0, pi]: %.8f (exact 2)\n", area);
    return 0;
}
