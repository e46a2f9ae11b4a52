/// Report of a crash while a scan runs.

#include "varn/escl_scan.h"

#include <csignal>
#include <cstdio>
#include <execinfo.h>
#include <unistd.h>

extern "C" VARN_API void esclscan_sigsegvhandler(int signal_number, siginfo_t *info, void *context);

void esclscan_sigsegvhandler(int, siginfo_t *info, void *) {
    // Printing may wait for a lock that the crash left taken: the process ends all the same.
    signal(SIGALRM, SIG_DFL);
    alarm(5);
    void *frames[100];
    const int count = backtrace(frames, 100);
    printf("backtrace() returned %d addresses si_addr=%#lx\n", count,
           reinterpret_cast<unsigned long>(info->si_addr));
    char **symbols = backtrace_symbols(frames, count);
    if (symbols == nullptr)
        perror("backtrace_symbols");
    for (int i = 0; symbols != nullptr && i < count; ++i)
        puts(symbols[i]);
    fflush(stdout);
    _exit(1);
}

int32_t escl_set_sigsegv_handler(void) {
    struct sigaction action = {};
    action.sa_sigaction = esclscan_sigsegvhandler;
    action.sa_flags = SA_SIGINFO;
    sigemptyset(&action.sa_mask);
    return sigaction(SIGSEGV, &action, nullptr);
}
