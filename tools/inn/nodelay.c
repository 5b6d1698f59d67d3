/* Preloaded into nnrpd: every accepted connection gets TCP_NODELAY, so that
 * a reply's status line and its data are not held apart by Nagle's
 * algorithm waiting for the client's delayed acknowledgement. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

static void no_delay(int fd)
{
    int one = 1;
    if (fd >= 0)
        setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
}

int accept(int fd, struct sockaddr *address, socklen_t *length)
{
    static int (*real)(int, struct sockaddr *, socklen_t *);
    if (!real)
        real = (int (*)(int, struct sockaddr *, socklen_t *))dlsym(RTLD_NEXT, "accept");
    int client = real(fd, address, length);
    no_delay(client);
    return client;
}

int accept4(int fd, struct sockaddr *address, socklen_t *length, int flags)
{
    static int (*real)(int, struct sockaddr *, socklen_t *, int);
    if (!real)
        real = (int (*)(int, struct sockaddr *, socklen_t *, int))dlsym(RTLD_NEXT, "accept4");
    int client = real(fd, address, length, flags);
    no_delay(client);
    return client;
}
