/* Random numbers in C: a million Gaussian variates from an MT19937 stream,
 * their sample mean and deviation, and a stream saved and restored. */
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

#include <qor/qor.h>

int main(void) {
    enum { N = 1000000 };
    double* x = malloc(N * sizeof *x);
    double again[4];
    qor_rng_stream *stream = NULL, *copy = NULL;
    int status = qor_rng_new_stream(&stream, QOR_RNG_BRNG_MT19937, 20260101u);
    if (status == 0) status = qor_rng_copy_stream(&copy, stream); /* the same state, drawn later */
    if (status == 0) status = qor_vdRngGaussian(QOR_RNG_METHOD_GAUSSIAN_ICDF, stream, N, x, 10.0, 2.0);
    if (status == 0) status = qor_vdRngGaussian(QOR_RNG_METHOD_GAUSSIAN_ICDF, copy, 4, again, 10.0, 2.0);
    if (status != 0) {
        fprintf(stderr, "qor: %s (status %d)\n", qor_status_string(status), status);
        return 1;
    }
    double sum = 0, sum2 = 0;
    for (int i = 0; i < N; ++i) sum += x[i];
    const double mean = sum / N;
    for (int i = 0; i < N; ++i) sum2 += (x[i] - mean) * (x[i] - mean);
    printf("%d Gaussian(10, 2) variates: mean %.5f, deviation %.5f\n", N, mean, sqrt(sum2 / (N - 1)));
    printf("first four     %.6f %.6f %.6f %.6f\n", x[0], x[1], x[2], x[3]);
    printf("from the copy  %.6f %.6f %.6f %.6f\n", again[0], again[1], again[2], again[3]);
    qor_rng_delete_stream(&copy);
    qor_rng_delete_stream(&stream);
    free(x);
    return 0;
}
