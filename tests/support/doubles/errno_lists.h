// The errors that the manual pages list for the system calls of the service, and those of the kernel's I2C
// adapters for a transfer.
#pragma once

#include <cerrno>
#include <initializer_list>

namespace Errors {

constexpr std::initializer_list<int> OPEN = {
    EACCES, EBADF,  EBUSY,  EDQUOT,       EEXIST, EFAULT,  EFBIG,    EINVAL, EISDIR,
    ELOOP,  EMFILE, ENFILE, ENAMETOOLONG, ENODEV, ENOENT,  ENOMEM,   ENOSPC, ENOTDIR,
    ENXIO,  EPERM,  EROFS,  EOPNOTSUPP,   EAGAIN, ETXTBSY, EOVERFLOW};              // EINTR is tried again
constexpr std::initializer_list<int> BIND = {EBADF, EFAULT, EINVAL, ENOTTY, EBUSY}; // EINTR is tried again
constexpr std::initializer_list<int> TRANSFER = {EBADF,  EFAULT, EINVAL, ENOTTY,     EAGAIN,    EBADMSG,
                                                 EBUSY,  EIO,    ENODEV, ENOMEM,     ENXIO,     ETIMEDOUT,
                                                 EPROTO, EINTR,  ENOSYS, EOPNOTSUPP, ESHUTDOWN, EREMOTEIO};
constexpr std::initializer_list<int> CLOSE = {EBADF, EINTR, EIO, ENOSPC, EDQUOT};
constexpr std::initializer_list<int> MQ_OPEN = {EACCES, EEXIST, EINVAL, EMFILE, ENAMETOOLONG,
                                                ENFILE, ENOENT, ENOMEM, ENOSPC};
constexpr std::initializer_list<int> MQ_GETATTR = {EBADF, EINVAL};
constexpr std::initializer_list<int> MQ_RECEIVE = {EAGAIN, EBADF, EINTR, EINVAL, EMSGSIZE}; // and ETIMEDOUT
constexpr std::initializer_list<int> MQ_SEND = {EAGAIN, EBADF, EINTR, EINVAL, EMSGSIZE, ETIMEDOUT};
constexpr std::initializer_list<int> MQ_CLOSE = {EBADF};
constexpr std::initializer_list<int> MQ_UNLINK = {EACCES, ENAMETOOLONG, ENOENT};
constexpr std::initializer_list<int> CLOCK_GETTIME = {EACCES, EFAULT, EINVAL, ENODEV, EOPNOTSUPP, EPERM};
constexpr std::initializer_list<int> PTHREAD_CREATE = {EAGAIN, EINVAL, EPERM};
constexpr std::initializer_list<int> PTHREAD_JOIN = {EDEADLK, EINVAL, ESRCH};

} // namespace Errors
