// Drives subscribe, unsubscribe, send and destruction in the order the input dictates, to
// catch use-after-free or a broken list in the object model.
#include <vexapi/core/object.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace {

class Node : public virtual Object {
public:
    virtual bool onPing(int depth) { return depth >= 0; }
    SlotResult ping(Object*, int depth) { return SlotResult(depth % 4); }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::vector<std::unique_ptr<Node>> nodes;
    for (int i = 0; i < 4; ++i)
        nodes.push_back(std::make_unique<Node>());
    for (std::size_t i = 0; i + 2 < size; i += 3) {
        Node* a = nodes[data[i] % nodes.size()].get();
        Node* b = nodes[data[i + 1] % nodes.size()].get();
        if (!a || !b)
            continue;
        switch (data[i + 2] % 5) {
        case 0: subscribe(a, &Node::onPing, b, &Node::ping, data[i + 2]); break;
        case 1: unsubscribe(a, &Node::onPing, b, &Node::ping); break;
        case 2: send(a, &Node::onPing, int(data[i + 2])); break;
        case 3: nodes[data[i] % nodes.size()].reset(); break;
        case 4: nodes[data[i] % nodes.size()] = std::make_unique<Node>(); break;
        }
    }
    return 0;
}
