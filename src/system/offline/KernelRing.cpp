#include "offline/KernelRing.h"

#include <liburing.h>

#include <utility>

namespace kel::offline {

void KernelRingEnd::operator()(io_uring* ring) const {
    io_uring_queue_exit(ring);
    delete ring;
}

KernelRing MakeKernelRing(unsigned entries, io_uring_params& params, unsigned features, int& error, SetUpRing setUp) {
    auto made = std::make_unique<io_uring>();
    error = setUp(entries, made.get(), &params);
    if (error != 0) {
        return nullptr;
    }
    KernelRing ring(made.release());
    return (params.features & features) == features ? std::move(ring) : nullptr;
}

}  // namespace kel::offline
