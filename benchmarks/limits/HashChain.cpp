#include "limits/HashChain.h"

#include "support/Harness.h"
#include "support/Subjects.h"

namespace bench {

namespace {

using PlainHashChain = HashChainBy<LetterByLetter>;

}  // namespace

void addHashChain(const Scale& scale) {
    addLookups<HashChain>(scale, "limit: hash chain");
    addAnswer<HashChain>(scale, "limit: hash chain");
    addSet<HashChain>(scale, "limit: hash chain");
    addSet<HashChainOfValues>(scale, "hash chain, value alone");
    addLookups<PlainHashChain>(scale, "hash chain, letter by letter");
    addAnswer<PlainHashChain>(scale, "hash chain, letter by letter");
    addSet<PlainHashChain>(scale, "hash chain, letter by letter");
}

}  // namespace bench
