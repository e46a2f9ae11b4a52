/// The semaphore by which the receive thread tells of the end of an image or of itself.

#include "varn/escl_scan.h"

#include <cstdio>
#include <ctime>
#include <unistd.h>

sem_t esclscan_action_sem;

int32_t do_init_wait_esclscan_sem(void) { return sem_init(&esclscan_action_sem, 0, 0); }

int32_t do_wait_action_esclscan_finish(void) {
    puts("Start to wait...");
    timespec deadline = {};
    if (clock_gettime(CLOCK_REALTIME, &deadline) != 0)
        puts("clock_gettime fail....");
    // Whole seconds: the wait lasts between four and five.
    deadline.tv_sec += 5;
    deadline.tv_nsec = 0;
    const int waited = sem_timedwait(&esclscan_action_sem, &deadline);
    puts("Start to wait...2");
    if (waited != 0)
        perror("do_wait_action_esclscan_finish");
    return sem_destroy(&esclscan_action_sem);
}

int32_t do_set_action_esclscan_finish(void) {
    puts("Set to exit wait...");
    usleep(1000);
    return sem_post(&esclscan_action_sem);
}
