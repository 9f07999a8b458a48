#include "settings.h"

static FAST_MUTEX lock;
static settings current;
static ULONG64 loaded_at; /* interrupt time, 100 ns */

void settings_init(void) {
    ExInitializeFastMutex(&lock);
    loaded_at = KeQueryInterruptTime();
    settings_reset(&current);
}

settings* settings_lock(void) {
    ExAcquireFastMutex(&lock);
    return &current;
}

void settings_unlock(void) {
    ExReleaseFastMutex(&lock);
}

void settings_reset(settings* s) {
    RtlZeroMemory(s, sizeof *s);
    s->connections = 12;
}

ULONG64 simulation_time(const settings* s) {
    return s->clock_stopped ? s->clock_ms : (KeQueryInterruptTime() - loaded_at) / 10000;
}
