// The pictures beside a picture: in its folder, in the order of the system's own lists of files.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace apps::q32view {

enum class Step { next, previous, first, last };

// Names that say a kind of picture. Others may be opened all the same.
bool is_picture_name(std::string_view name);
// The same for dialogs: "*.png;*.jpg;..."
std::wstring picture_patterns();

// As people count: 2 before 10, whatever the case.
bool comes_before(const std::string &name, const std::string &other);

// A picture's folder, as it is now. The picture itself is among the names whatever it is called,
// and when it is gone.
class Neighbours {
public:
    explicit Neighbours(const std::string &path);

    size_t count() const { return names_.size(); }
    size_t number() const { return index_ + 1; }

    // The path of another picture, after the last of which comes the first; empty: there is none.
    std::string at(Step step) const;

private:
    std::string folder_; // with its separator
    std::vector<std::string> names_;
    size_t index_; // of the picture itself
};

} // namespace apps::q32view
