// Non-owning links that their target clears when it goes away, so that destroying an object in
// use leaves its users pointing at nothing instead of at freed memory. A target keeps its incoming
// links in an intrusive list; a link unhooks itself when reset or destroyed. Links are made and
// broken on the thread that owns the scene (the Java binding serialises its calls for that).
#pragma once

namespace kesto {

class LinkTarget;

class LinkBase {
  public:
    LinkBase() = default;
    LinkBase(const LinkBase&) = delete;
    LinkBase& operator=(const LinkBase&) = delete;

  protected:
    ~LinkBase() { attach(nullptr); }
    void attach(LinkTarget* target);
    // Called while the target is still whole, just before it clears this link.
    virtual void targetGoing() {}

    LinkTarget* target_ = nullptr;

  private:
    friend class LinkTarget;
    LinkBase* previous_ = nullptr;
    LinkBase* next_ = nullptr;
};

class LinkTarget {
  public:
    LinkTarget() = default;
    LinkTarget(const LinkTarget&) = delete;
    LinkTarget& operator=(const LinkTarget&) = delete;

    // Tells every user, then clears every link to this object. Owners call it before they take
    // apart what the users' callbacks still need.
    void unlinkAll() {
        while (links_ != nullptr) {
            LinkBase* link = links_;
            link->targetGoing();
            if (links_ == link) {
                link->attach(nullptr);
            }
        }
    }

  protected:
    ~LinkTarget() { unlinkAll(); }

  private:
    friend class LinkBase;
    LinkBase* links_ = nullptr;
};

inline void LinkBase::attach(LinkTarget* target) {
    if (target == target_) {
        return;
    }
    if (target_ != nullptr) {
        (previous_ != nullptr ? previous_->next_ : target_->links_) = next_;
        if (next_ != nullptr) {
            next_->previous_ = previous_;
        }
        previous_ = next_ = nullptr;
    }
    target_ = target;
    if (target != nullptr) {
        next_ = target->links_;
        if (next_ != nullptr) {
            next_->previous_ = this;
        }
        target->links_ = this;
    }
}

// A pointer to a T (a LinkTarget) that becomes null when the T is destroyed.
template <class T>
class Link : public LinkBase {
  public:
    Link() = default;
    Link& operator=(T* target) {
        set(target);
        return *this;
    }
    void set(T* target) { attach(target); }
    T* get() const { return static_cast<T*>(target_); }
    operator T*() const { return get(); }
    T* operator->() const { return get(); }
};

// A link that tells its owner, through `Gone`, that the target is about to go.
template <class T, class Owner, void (Owner::*Gone)()>
class WatchedLink : public Link<T> {
  public:
    explicit WatchedLink(Owner* owner) : owner_(owner) {}
    WatchedLink& operator=(T* target) {
        this->set(target);
        return *this;
    }

  private:
    void targetGoing() override { (owner_->*Gone)(); }
    Owner* owner_;
};

}  // namespace kesto
