#include "comparing/Sides.h"

#include <stdexcept>

#include "comparing/DocumentContents.h"
#include "comparing/StoreNames.h"
#include "session/ProfileCopy.h"
#include "session/Session.h"

namespace corvidctl {

Contents Sides::read(const Operand& operand) {
    switch (operand.kind) {
    case Operand::Kind::Store:
        return readStore(operand.place);
    case Operand::Kind::File: {
        Contents contents;
        rehearsal_.run("reading " + operand.place + " …",
                       [&] { contents = readDocument(operand.place, invocation_.host.fips); });
        return contents;
    }
    case Operand::Kind::Directory:
        return contentsOf(pictureOf(operand.place).values);
    case Operand::Kind::Live:
        break;
    }
    return contentsOf(live().values);
}

Picture Sides::pictureOf(const std::string& directory) {
    Picture picture;
    rehearsal_.run("reading " + directory + " …", [&] {
        const ProfileCopy copy(directory);
        Session session(Rehearsal::onCopy(invocation_, copy.path()));
        session.work([&picture](Session::Inside& inside) { picture = takePicture(inside.chain); });
        session.finish();
    });
    return picture;
}

const Picture& Sides::live() {
    if (!live_) {
        live_ = pictureOf(invocation_.host.configDirectory);
    }
    return *live_;
}

Contents Sides::readStore(const std::string& name) {
    const Layer* const layer = findLayer(live().layers, name);
    if (layer == nullptr) {
        throw std::runtime_error(
            "'" + name + "': expected live, a path, or a store of this configuration: " + listOfStores(live().layers));
    }
    return contentsOf(*layer);
}

}  // namespace corvidctl
