#pragma once

#include "MrvTask/MrvTask.h"

#include <exception>
#include <type_traits>
#include <utility>

namespace Mrv
{
// The face of every resumable function. It finds the frame that an earlier entry left or starts afresh, and when the function is left
// it releases it: a finished frame goes, an unfinished one is moved into the task, to be found again on the next entry.
//
//	void Thing::work_yielding(Task &task, Value &result, ...)
//	{
//		struct LocalVariableState : OMFunctionState { Value operand; };
//		enum At : int32_t { START = 0, OPERAND_KNOWN = 1000000, DONE = -1 };
//
//		YieldingFrame<LocalVariableState> frame(task, result);
//		while (frame.running())
//		{
//			switch (frame.at<At>())
//			{
//				case START:
//					frame.call(OPERAND_KNOWN, [&] { evaluate_yielding(task, frame->operand, ...); });
//					break;
//				case OPERAND_KNOWN:
//					result = ...;
//					frame.finish();
//					break;
//				...
//
// Resume points are named for what has just become true, in source order; the continuation of a nested call in step n has the number
// 1000000 + n. Nobody keeps a pointer or a reference into a frame across a suspension: the frame moves. Arguments are not saved; the
// caller passes the same ones again.
template <class State>
class YieldingFrame
{
	static_assert(std::is_base_of_v<OMFunctionState, State>);
	static_assert(std::is_nothrow_move_constructible_v<State> && std::is_nothrow_move_assignable_v<State>, "saving a frame cannot fail");
	static_assert(sizeof(State) <= 1024, "a frame is small: what is large belongs on the heap");

public:
	// On a first entry the results are cleared.
	template <class... Results>
	explicit YieldingFrame(Task &task, Results &...results) : fTask(task),
	                                                          fDepth(task.fFunctionStateDepth++)
	{
		fRoom = task.fArena.take(sizeof(State), fMark);
		if (fDepth < task.fFunctionStates.size())
		{
			restore();
			return;
		}
		((results = Results()), ...);
		if (!fRoom || (fDepth >= task.fFunctionStates.capacity() && !task.reserveFrame(fDepth)))
		{
			task.failByFrame();
			fState.fResumePoint = OMFunctionState::DONE;
		}
	}

	YieldingFrame(const YieldingFrame &) = delete;
	YieldingFrame &operator=(const YieldingFrame &) = delete;

	~YieldingFrame()
	{
		fTask.fFunctionStateDepth = fDepth;
		fTask.fArena.release(fMark);
		if (fState.fResumePoint == OMFunctionState::DONE) [[likely]]
		{
			if (fTask.fFunctionStates.size() > fDepth)
			{
				fTask.truncateFrames(fDepth);
			}
			return;
		}
		suspend();
	}

	// Whether there is a step to do now: not finished, no callee suspended, and nobody wants the task to stop. Always true for the first
	// step of an entry that is not finished.
	bool running()
	{
		if (fState.fResumePoint == OMFunctionState::DONE)
		{
			return false;
		}
		if (!fHasStepped)
		{
			fHasStepped = true;
			return true;
		}
		return !fIsCalleeSuspended && !fTask.mustYield();
	}

	template <class At>
	At at() const
	{
		return static_cast<At>(fState.fResumePoint);
	}

	// Calls a resumable function; when it has finished, goes to `next`. If it is suspended, this function is left, and the
	// same step is done again on the next entry.
	template <class At, class Function>
	void call(At next, Function &&function)
	{
		function();
		if (fTask.fFunctionStates.size() > fTask.fFunctionStateDepth)
		{
			fIsCalleeSuspended = true;
		}
		else
		{
			fState.fResumePoint = static_cast<int32_t>(next);
		}
	}

	template <class At>
	void goTo(At next)
	{
		if (fTask.fFunctionStates.size() > fTask.fFunctionStateDepth)
		{
			fTask.truncateFrames(fTask.fFunctionStateDepth);
		}
		fState.fResumePoint = static_cast<int32_t>(next);
	}
	void finish() { goTo(OMFunctionState::DONE); }

	// Leaves the function unfinished, to be entered again at the present point in a later slice.
	void giveWay() { fTask.giveWay(); }

	// True while the function has not been suspended before.
	bool isFirstEntry() const { return fIsFirstEntry; }

	State *operator->() { return &fState; }
	State &operator*() { return fState; }

private:
	static void destroyState(void *state) noexcept { static_cast<State *>(state)->~State(); }
	static constexpr SavedFrameType TYPE{&destroyState, sizeof(State)};

	void restore()
	{
		fIsFirstEntry = false;
		Task::SavedFrame &saved = fTask.fFunctionStates[fDepth];
		if (saved.type != &TYPE || !saved.state)
		{
			fTask.failByFrame();
			fState.fResumePoint = OMFunctionState::DONE;
			return;
		}
		State *state = static_cast<State *>(saved.state);
		fState = std::move(*state);
		state->~State();
		saved.state = nullptr;
	}

	void suspend() noexcept
	{
		fTask.leaveUnfinished();
		if (fTask.fIsTimedOut || !fRoom || std::uncaught_exceptions() > 0)
		{
			fTask.truncateFrames(fDepth);
			return;
		}
		if (fTask.fFunctionStates.size() <= fDepth)
		{
			fTask.fFunctionStates.resize(fDepth + 1); // the capacity was made on entry
		}
		fTask.fFunctionStates[fDepth] = {new (fRoom) State(std::move(fState)), &TYPE};
	}

	Task &fTask;
	const size_t fDepth;
	void *fRoom;
	FrameArena::Mark fMark;
	bool fHasStepped = false;
	bool fIsCalleeSuspended = false;
	bool fIsFirstEntry = true;
	State fState;
};
}
