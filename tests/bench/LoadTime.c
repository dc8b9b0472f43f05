/* Prints the nanoseconds that dlopen() of the named libraries takes in a fresh process. In C, so that no library
   that the module needs is there already. */

#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdio.h>
#include <time.h>

static long long Now(void)
{
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000000000LL + now.tv_nsec;
}

int main(int argc, char** argv)
{
    const long long start = Now();
    for (int i = 1; i < argc; ++i)
    {
        if (dlopen(argv[i], RTLD_NOW | RTLD_LOCAL) == NULL)
        {
            fprintf(stderr, "%s\n", dlerror());
            return 1;
        }
    }
    printf("%lld\n", Now() - start);
    return 0;
}
