/* Summary statistics in C: mean, variance and quartiles of two variables
 * (heights in cm and weights in kg of ten people) in a single task. */
#include <stdio.h>

#include <qor/qor.h>

int main(void) {
    double x[2][10] = {{162, 175, 181, 158, 170, 169, 177, 190, 165, 173},
                       {55.0, 72.5, 80.1, 51.2, 66.0, 64.3, 75.8, 92.4, 60.7, 70.0}};
    int64_t p = 2, n = 10, storage = SS_OBS_VARIABLES_IN_ROWS, full = SS_MATRIX_STORAGE_FULL, m = 3;
    double mean[2], cov[4], cor[4], weights[2] = {0, 0};
    double orders[3] = {0.25, 0.5, 0.75}, quartiles[6];
    qor_ss_task* task = NULL;

    int status = qor_dss_new_task(&task, &p, &n, &storage, &x[0][0], NULL, NULL);
    if (status == SS_OK) status = qor_dss_edit_task(task, SS_PARAM_ACC_WEIGHTS, weights);
    if (status == SS_OK) status = qor_dss_edit_cov_cor(task, mean, cov, &full, cor, &full);
    if (status == SS_OK) status = qor_dss_basic(task, SS_EST_MEAN | SS_EST_COV | SS_EST_COR, SS_METHOD_OBS_1);
    if (status == SS_OK) status = qor_dss_edit_quantiles(task, &m, orders, quartiles, NULL, NULL);
    if (status == SS_OK) status = qor_dss_quantiles(task, SS_EST_QUANTILES, SS_METHOD_OBS_1);
    qor_ss_delete_task(&task);
    if (status != SS_OK) {
        fprintf(stderr, "qor: %s (status %d)\n", qor_status_string(status), status);
        return 1;
    }
    const char* name[2] = {"height", "weight"};
    printf("%-8s %10s %10s %10s %10s %10s\n", "", "mean", "variance", "q1", "median", "q3");
    for (int v = 0; v < 2; ++v)
        printf("%-8s %10.3f %10.3f %10.3f %10.3f %10.3f\n", name[v], mean[v], cov[v * 2 + v], quartiles[v * 3],
               quartiles[v * 3 + 1], quartiles[v * 3 + 2]);
    printf("correlation of height and weight: %.4f\n", cor[1]);
    return 0;
}
