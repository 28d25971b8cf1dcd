// A queue of requests to the host's kernel (io_uring).
#pragma once

#include <memory>

struct io_uring;
struct io_uring_cqe;
struct io_uring_params;
struct io_uring_sqe;

namespace kel::offline {

struct KernelRingEnd {
    void operator()(io_uring* ring) const;
};
using KernelRing = std::unique_ptr<io_uring, KernelRingEnd>;

/// As liburing's io_uring_queue_init_params: 0 or a negative error number.
using SetUpRing = int (*)(unsigned entries, io_uring* ring, io_uring_params* params);

/// @param entries requests that may be written before the kernel takes them; a power of two
/// @param params the flags that are asked for; afterwards what the kernel has granted
/// @param features IORING_FEAT_..., all of which are needed
/// @param error afterwards 0 or the negative error number of the kernel's refusal
/// @return null when there is none: refused, or without the features
KernelRing MakeKernelRing(unsigned entries, io_uring_params& params, unsigned features, int& error, SetUpRing setUp);

}  // namespace kel::offline
