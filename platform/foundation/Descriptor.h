// A file descriptor that is closed with its owner.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <utility>

namespace velmora {

// As thread-safe as an int.
class Descriptor {
  public:
    // Takes the descriptor over; below 0 stands for none.
    explicit Descriptor(int number = -1) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~Descriptor() {
        if (number_ >= 0) ::close(number_);
    }

    explicit operator bool() const { return number_ >= 0; }
    int number() const { return number_; }
    // False, with the reason in errno, where the system tells only now what became of the written.
    bool close() { return ::close(std::exchange(number_, -1)) == 0; }

  private:
    int number_;
};

// The first thing that a program does: started with a standard descriptor closed, it would otherwise get its next file
// or socket there, and print into it. What is printed to one that was closed still fails.
inline void occupyStandardDescriptors() {
    int number = 0;
    do {
        number = ::open("/dev/null", O_RDONLY);
    } while (number >= 0 && number <= STDERR_FILENO);
    if (number >= 0) ::close(number);
}

}  // namespace velmora
