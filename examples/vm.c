/* Vector math in C: the normal distribution function at a few points, in
 * the thread's accuracy (HA) and in one EP call, beside erfc. */
#include <stdio.h>

#include <qor/qor.h>

int main(void) {
    enum { N = 6 };
    const double x[N] = {-3.0, -1.0, 0.0, 0.5, 1.0, 3.0};
    double ha[N], ep[N], scaled[N], tail[N];

    if (qor_init() != QOR_STATUS_OK) {
        fprintf(stderr, "qor: %s\n", qor_init_detail());
        return 1;
    }
    qor_vdCdfNorm(N, x, ha);                     /* accuracy from the thread's mode */
    qor_vmdCdfNorm(N, x, ep, QOR_VM_EP);         /* this call only in EP */
    /* Phi(x) = erfc(-x / sqrt(2)) / 2, a second way to the same values. */
    for (int i = 0; i < N; ++i) scaled[i] = -x[i] * 0.70710678118654752440;
    qor_vdErfc(N, scaled, tail);

    printf("%6s %22s %22s %22s\n", "x", "CdfNorm (HA)", "CdfNorm (EP)", "erfc(-x/sqrt 2)/2");
    for (int i = 0; i < N; ++i) printf("%6.2f %22.17g %22.17g %22.17g\n", x[i], ha[i], ep[i], tail[i] / 2);
    printf("vector-math status: %s\n", qor_status_string(qor_vm_get_status()));
    return 0;
}
