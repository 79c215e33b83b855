/* SPDX-License-Identifier: LGPL-2.1-or-later */
/*
 * A daemon that writes this machine's identity to identity.json in a directory of its own: at its
 * start, every hour and on SIGHUP.
 *
 * Shows:  queries with a time limit. A call of the library has none, and a tool may hang on a
 *         broken disk; so the queries run in a child that leads a process group of its own and is
 *         killed with its tools. The child executes a program, `orvane show`: after a fork() alone
 *         in a program with threads, locks of the C library may be held for ever.
 * Build:  cc identityd.c -o identityd
 * Run:    sudo ./identityd DIRECTORY        (or identityd.service, in a sandbox)
 *
 * Whoever reads the file finds the old facts or the new ones, never a part. Nobody but the daemon's
 * user may read it: serial numbers and MAC addresses are personal data. SIGTERM and SIGINT end the
 * daemon with status 0.
 */
#define _POSIX_C_SOURCE 200809L
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <stdio.h>
#include <string.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

extern char **environ;

enum { INTERVAL = 60 * 60, TIME_LIMIT = 30 }; /* seconds */

static const char path[] = "identity.json", new_path[] = "identity.json.new";

static time_t now(void)
{
    struct timespec time;

    clock_gettime(CLOCK_MONOTONIC, &time); /* which nobody sets */
    return time.tv_sec;
}

/* Starts the command with its output to a file; returns the child, or 0 where there is none. */
static pid_t start_query(void)
{
    char *words[] = {"orvane", "show", "--json", NULL};
    posix_spawn_file_actions_t files;
    posix_spawnattr_t attributes;
    sigset_t none;
    pid_t child;
    int error = ENOMEM;

    sigemptyset(&none);
    if (posix_spawn_file_actions_init(&files) == 0 && posix_spawnattr_init(&attributes) == 0) {
        /* A process group of its own, and no signal blocked. */
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK);
        posix_spawnattr_setsigmask(&attributes, &none);
        error = posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, new_path,
                                                 O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (error == 0)
            error = posix_spawnp(&child, words[0], &files, &attributes, words, environ);
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&files);
    }
    if (error == 0)
        return child;
    fprintf(stderr, "identityd: orvane cannot be run: %s\n", strerror(error));
    unlink(new_path); /* made before the command was not found */
    return 0;
}

/* Moves the new file over the old one where the query ended well. */
static void finish_query(int status)
{
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) {
        if (rename(new_path, path) == 0) {
            printf("identityd: %s is written\n", path);
            fflush(stdout);
            return;
        }
        perror("identityd: rename");
    }
    fprintf(stderr, "identityd: %s is left as it was\n", path);
    unlink(new_path);
}

int main(int argc, char **argv)
{
    time_t due = now(), limit = 0;
    pid_t child = 0;
    const int waited_for[] = {SIGCHLD, SIGHUP, SIGINT, SIGTERM};
    sigset_t signals;

    if (argc != 2) {
        fprintf(stderr, "usage: identityd DIRECTORY\n");
        return 2;
    }
    if (chdir(argv[1]) != 0) {
        perror(argv[1]);
        return 1;
    }

    signal(SIGCHLD, SIG_DFL); /* ignored, it would leave no status to wait for */
    /* These are waited for, so that no handler is needed. */
    sigemptyset(&signals);
    for (size_t i = 0; i < sizeof waited_for / sizeof *waited_for; ++i)
        sigaddset(&signals, waited_for[i]);
    sigprocmask(SIG_BLOCK, &signals, NULL);

    for (;;) {
        struct timespec wait = {0, 0};
        time_t until;
        int number, status;

        if (child == 0 && now() >= due) {
            child = start_query();
            limit = now() + TIME_LIMIT;
            due = now() + INTERVAL;
        }
        until = child != 0 ? limit : due;
        wait.tv_sec = until > now() ? until - now() : 0;
        number = sigtimedwait(&signals, NULL, &wait);
        if (number == SIGTERM || number == SIGINT)
            break;
        if (number == SIGHUP)
            due = now();
        /* By its id, so that another child of the program is left alone. */
        if (child != 0 && waitpid(child, &status, WNOHANG) == child) {
            finish_query(status);
            child = 0;
        } else if (child != 0 && now() >= limit) {
            /* One that waits for a broken disk stays until that answers: no new query meanwhile. */
            fprintf(stderr, "identityd: the query takes too long and is killed\n");
            kill(-child, SIGKILL);
            limit = now() + TIME_LIMIT;
        }
    }
    if (child != 0) {
        kill(-child, SIGKILL);
        unlink(new_path);
    }
    return 0;
}
