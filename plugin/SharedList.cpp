#include "plugin/SharedList.h"

#include <algorithm>
#include <utility>

namespace velmora {

SharedList::SharedList(std::vector<StringList> models) : models_(std::move(models)) {
    std::erase(models_, nullptr);
    if (!models_.empty()) model_ = models_.front();
}

bool SharedList::isModelSoFar(const StringList& model, const std::string& next) const {
    return model->size() > size_ && (*model)[size_] == next &&
           (model == model_ ||
            std::equal(model_->begin(), model_->begin() + static_cast<std::ptrdiff_t>(size_), model->begin()));
}

void SharedList::add(std::string text) {
    if (model_ != nullptr && !isModelSoFar(model_, text)) {
        const auto other =
            std::find_if(models_.begin(), models_.end(), [&](const auto& model) { return isModelSoFar(model, text); });
        if (other == models_.end()) {
            leaveModel();
        } else {
            model_ = *other;
        }
    }
    ++size_;
    if (model_ == nullptr) own_.push_back(std::move(text));
}

void SharedList::leaveModel() {
    own_.assign(model_->begin(), model_->begin() + static_cast<std::ptrdiff_t>(size_));
    model_ = nullptr;
}

StringList SharedList::list() {
    if (model_ != nullptr && model_->size() != size_) leaveModel();
    if (model_ != nullptr) return model_;
    own_.shrink_to_fit();  // it may live for weeks
    return makeStringList(std::move(own_));
}

}  // namespace velmora
