// The code of docs/guides/memory.md, compiled. The documentation check compares the two.

// snippet
#include <list>
#include <tarnu/TarnuWin32Utils.h>

struct Vertex {
    double x, y;
    Vertex(double x0, double y0) : x(x0), y(y0) {}
};

void Use() {
    tarnu::OrvaFixedBlockPool<Vertex> pool;
    Vertex* vertex = pool.New(1.0, 2.0); // or TryNew, which answers null when memory has run out
    pool.Delete(vertex);

    tarnu::OrvaFixedBlockLists blocks; // must outlive the containers
    std::list<int, tarnu::OrvaFixedBlockStdAllocator<int>> numbers(blocks);
    numbers.push_back(7);
}
// end of snippet
