// The reply that holds the whole matrix, made piece by piece: the largest has 134 MB.
#pragma once

#include <QByteArray>
#include <cstddef>
#include <utility>
#include <vector>

#include "server/VirtualMatrix.h"

namespace velmora {

// One thread. The matrix may change meanwhile; the text is of one moment.
class DumpText {
  public:
    // About this many bytes of labels go into one piece.
    static constexpr std::size_t kPiece = 128 * 1024;

    // `frame` is the line of the reply, its end included, in which the lists "inputs", "outputs" and "routes", in this
    // order, are empty.
    DumpText(QByteArray frame, MatrixContents contents) : frame_(std::move(frame)), contents_(std::move(contents)) {}

    // Empty after the last one.
    QByteArray nextPiece();

  private:
    QByteArray frameUpTo(const QByteArray& opening);
    template <typename Value>
    QByteArray piece(const char* opening, const std::vector<Value>& list);

    QByteArray frame_;  // what is left of it
    MatrixContents contents_;
    int list_ = 0;              // the one whose turn it is, counted from 0
    std::size_t position_ = 0;  // in it
};

}  // namespace velmora
