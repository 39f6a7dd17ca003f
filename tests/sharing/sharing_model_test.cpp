// Random sequences of duplicating, writing, filling and freeing, beside the model of sharing.
#include "tests/sharing/family.h"

namespace q32::test {
namespace {

class SharingModel : public BufferTest {};

class Play {
public:
    explicit Play(Random &random) : random_(random) {
        constexpr int depths[] = {1, 2, 3, 4, 7, 8, 16, 24, 32, 48, 64};
        bits_ = depths[random.below(std::size(depths))];
        for (auto &[width, height] : sizes_) {
            width = between(random, 1, 200);
            height = between(random, 2, 160);
        }
    }

    void step() {
        if (family_.size() < 2 || (family_.size() < 9 && random_.below(8) == 0)) {
            allocate();
            return;
        }
        switch (random_.below(10)) {
        case 0:
        case 1:
            duplicate();
            break;
        case 2:
        case 3:
        case 4:
            duplicate_into(any(), any());
            break;
        case 5:
        case 6:
        case 7:
            write(any());
            break;
        case 8:
            free(any());
            break;
        case 9:
            send_to_files(random_.below(2) == 0);
            break;
        }
    }
    void check() const {
        SCOPED_TRACE(last_);
        family_.check();
    }
    size_t sharing() const {
        return size_t(std::count_if(family_.members().begin(), family_.members().end(),
                                    [](const auto &member) { return member->source != nullptr; }));
    }

private:
    void allocate() {
        constexpr uint32_t types[] = {0, 0, 0, 2, 4, 16, 0x80000000};
        const auto &[width, height] = sizes_[random_.below(std::size(sizes_))];
        family_.allocate(bits_, width, height, types[random_.below(std::size(types))], random_);
    }

    Member &any() { return family_[random_.below(family_.size())]; }
    Member &ordinary() {
        for (const auto &member : family_.members())
            if (!member->is_special() && random_.below(2) == 0)
                return *member;
        return family_.allocate(bits_, sizes_[0].first, sizes_[0].second, 0, random_);
    }

    std::string name(const Member &member) const {
        size_t i = 0;
        while (&family_[i] != &member)
            ++i;
        return "buffer " + std::to_string(i);
    }

    void free(Member &member) {
        last_ = "after freeing " + name(member);
        family_.free(member);
    }

    void duplicate() {
        if (family_.size() >= 12)
            return;
        Member &source = ordinary();
        last_ = "after duplicating " + name(source);
        family_.duplicate(source);
    }

    void duplicate_into(Member &source, Member &destination) {
        last_ = "after duplicating " + name(source) + " into " + name(destination);
        if (source.is_special())
            return; // shares nothing
        const Geometry &from = source.picture.geometry, &to = destination.picture.geometry;
        Member *const chain = source.source != nullptr ? source.source : &source;
        if (source.type != destination.type) {
            EXPECT_FALSE(family_.try_duplicate_into(source, destination));
            expect_report(4026, 1, 3, 6);
        } else if (from.width != to.width || from.height != to.height) {
            EXPECT_FALSE(family_.try_duplicate_into(source, destination));
            expect_report(4026, 1, 3, 7);
        } else if (&destination == &source || &destination == chain ||
                   destination.source == chain) {
            EXPECT_FALSE(family_.try_duplicate_into(source, destination));
            expect_no_report();
        } else {
            family_.duplicate_into(source, destination);
        }
    }

    void write(Member &member) {
        const std::vector<WritePath> paths = write_paths(member.type, bits_);
        const WritePath &path = paths[random_.below(paths.size())];
        if (std::string(path.name) == "another height" && member.picture.geometry.height < 2)
            return;
        last_ = "after writing " + name(member) + ": " + path.name;
        family_.write(member, path, random_);
    }

    Random &random_;
    std::string last_; // what has been done
    int bits_;
    std::pair<int, int> sizes_[2];
    Family family_;
};

TEST_F(SharingModel, AgreesWithTheRecords) {
    size_t sharing = 0;
    random_cases(50, [&](Random &random, uint64_t number) {
        SCOPED_TRACE(rerun(number));
        send_to_files(false);
        Play play(random);
        for (int step = 0; step < 80; ++step) {
            SCOPED_TRACE("step " + std::to_string(step));
            play.step();
            play.check();
            sharing += play.sharing();
            if (HasFailure())
                return false;
        }
        return true;
    });
    EXPECT_GT(sharing, 80u); // the sequences do what they are for
}

} // namespace
} // namespace q32::test
