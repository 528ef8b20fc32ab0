"""The course of a run: pauses and alarms of the chip, its exit, and what a test calls back for.

Everything that decides about the course of a test happens while the chip stands: it runs until a
timer of virtual time or an event pauses it, at an exact tick, and only then are commands sent and
callbacks called.
"""

from __future__ import annotations

from collections import deque
from dataclasses import dataclass, field
from functools import partial
from typing import Any, Callable, Deque, Dict, List, Mapping, Optional

from .errors import BreakpointReached, FirmwareExited, FirmwareStopped
from .exchange import Exchange
from .protocol import Event, time_ns

EventCallback = Callable[[Event], object]


@dataclass(eq=False)
class Timer:
    """An alarm in virtual time."""

    number: int
    callback: Optional[EventCallback] = None
    fired: bool = False


@dataclass(eq=False)
class Trigger:
    """Pauses the chip at every event that has the keys of `pattern`, if `number` isn't None."""

    pattern: Mapping[str, Any]
    callback: Optional[EventCallback] = None
    number: Optional[int] = None
    last: Optional[Event] = field(default=None, repr=False)


class Session:
    """One run of a started simulator. All methods are for one thread, the test's."""

    def __init__(self, exchange: Exchange) -> None:
        self.exchange = exchange
        self._running = True
        self._stop: Optional[FirmwareStopped] = None
        self._exit_code: Optional[int] = None
        self._timers: Dict[int, Timer] = {}
        self._triggers: List[Trigger] = []
        self._due: Deque[Callable[[], object]] = deque()
        self._in_callback = False
        exchange.listen(self._take_event)

    def device_time_ns(self) -> float:
        """The present virtual time."""
        return time_ns(self.exchange.sudo("get_device_time", "device_time")["value"])

    # ---- Running ----

    def wait_until_stopped(self) -> None:
        """Returns when the chip stands."""
        self.exchange.take_until(lambda: not self._running)
        self._call_back()

    def resume(self) -> None:
        """Lets the chip run on by itself, behind a place where firmware has stopped it too."""
        self._refuse_in_callback("resume")
        self.exchange.take_received()
        self._call_back()
        self._stop = None
        self._resume()

    def pause(self) -> None:
        """Stops the chip, at whatever tick it has reached."""
        if not self._running:
            return
        self.exchange.sudo("pause", "emulator_state")
        self.wait_until_stopped()

    @property
    def running(self) -> bool:
        """Whether the chip runs, after all that has arrived."""
        self.exchange.take_received()
        return self._running

    def run(self, duration_ns: int, done: Callable[[], bool] = lambda: False) -> bool:
        """Runs until `done` holds at a pause or the duration is over, and returns the former.

        The chip stands afterwards. What pauses it in between: the triggers and timers. Raises
        FirmwareStopped if firmware has stopped the chip and `done` doesn't hold.
        """
        self._refuse_in_callback("run")
        self.exchange.take_received()
        self._call_back()
        if done():
            self.pause()
            return True
        self._raise_if_stopped()
        deadline = self.set_timer(duration_ns)
        try:
            if not self._running:
                self._settle()  # a duration below one tick is over already
            while not deadline.fired:
                self._resume()
                self.wait_until_stopped()
                if done():
                    return True
                self._raise_if_stopped()
                if not deadline.fired:
                    self._settle()
            return False
        finally:
            self.cancel_timer(deadline)

    def run_to(
        self,
        pattern: Mapping[str, Any],
        duration_ns: int,
        done: Optional[Callable[[], bool]] = None,
    ) -> Optional[Event]:
        """Runs to the next such event, or to the first at which `done` holds. Returns the last of
        them, None if there was none before the duration was over."""
        trigger = self.add_trigger(pattern)
        try:
            self.run(duration_ns, done or (lambda: trigger.last is not None))
        finally:
            self.remove_trigger(trigger)
        return trigger.last

    def _resume(self) -> None:
        if self._running:
            return
        self._running = True
        self.exchange.sudo("resume_running", "resumed")

    def _raise_if_stopped(self) -> None:
        if self._stop is not None:
            stop, self._stop = self._stop, None
            raise stop

    def _settle(self) -> None:
        # A listener that is due at this very tick may run only now, during the pause: with the
        # answer to a command behind it, its event is here.
        self.device_time_ns()
        self._call_back()

    def _call_back(self) -> None:
        if self._in_callback:
            return
        self._in_callback = True
        try:
            while self._due:
                self._due.popleft()()
        finally:
            self._in_callback = False

    def _refuse_in_callback(self, what: str) -> None:
        if self._in_callback:
            raise RuntimeError(f"{what} in a callback: the chip stands while it is called")

    # ---- Alarms, triggers, listeners ----

    def set_timer(self, duration_ns: int, callback: Optional[EventCallback] = None) -> Timer:
        """Pauses the chip in so many nanoseconds, and calls back then."""
        answer = self.exchange.sudo("set_timer", "set_timer", nanoseconds=duration_ns)
        timer = Timer(int(answer["timer_id"]), callback)
        self._timers[timer.number] = timer
        return timer

    def cancel_timer(self, timer: Timer) -> None:
        """Does nothing if it has fired, or the run has ended."""
        if self._timers.pop(timer.number, None) is not None and not self.exchange.ended:
            self.exchange.sudo("cancel_timer", "timer_canceled", timer_id=timer.number)

    def add_trigger(
        self, pattern: Mapping[str, Any], callback: Optional[EventCallback] = None
    ) -> Trigger:
        """Pauses the chip at each such event. A "pin_number" of the pattern may be a name; in the
        trigger it is the number."""
        answer = self.exchange.sudo("pause_at_event", "pause_at_event", event=dict(pattern))
        trigger = Trigger(answer["event"], callback, answer["trigger_id"])
        self._triggers.append(trigger)
        return trigger

    def watch(self, pattern: Mapping[str, Any], callback: EventCallback) -> Trigger:
        """Calls back at each such event when it is taken, without a pause of the chip."""
        if isinstance(pattern.get("pin_number"), str):
            named = self.add_trigger(pattern)
            self.remove_trigger(named)
            pattern = named.pattern
        trigger = Trigger(pattern, callback)
        self._triggers.append(trigger)
        return trigger

    def remove_trigger(self, trigger: Trigger) -> None:
        """May be called again, and when the run has ended."""
        if trigger not in self._triggers:
            return
        self._triggers.remove(trigger)
        number = trigger.number
        if number is not None and not self.exchange.ended:
            answer = "pause_at_event_canceled"
            self.exchange.sudo("cancel_pause_at_event", answer, trigger_id=number)

    @property
    def exit_code(self) -> Optional[int]:
        """The last code that firmware gave to SUDO, None before that."""
        self.exchange.take_received()
        return self._exit_code

    def has_exited(self) -> bool:
        """Whether firmware has given a code and the chip hasn't gone on since."""
        return isinstance(self._stop, FirmwareExited)

    def take_exit_code(self) -> int:
        """The code of has_exited(); the next run goes on behind the exit."""
        assert isinstance(self._stop, FirmwareExited)
        code, self._stop = self._stop.code, None
        return code

    # ---- Events ----

    def _take_event(self, event: Event) -> None:
        what = event.description
        if what == "stopped":
            self._running = False
        elif what == "resumed":
            self._running = True
        elif what == "timer_id":
            self._take_alarm(event)
        elif what == "sudo_exit":
            self._exit_code = int(event["value"])
            self._stop = FirmwareExited(self._exit_code, event.time_ns)
        elif what == "bkpt":
            self._stop = BreakpointReached(int(event["value"]), event.time_ns)
        for trigger in list(self._triggers):
            if event.matches(trigger.pattern):
                self._hit(trigger, event)

    def _take_alarm(self, event: Event) -> None:
        timer = self._timers.pop(int(event["value"]), None)
        if timer is None:
            return  # cancelled at the same tick
        timer.fired = True
        if timer.callback is not None:
            self._due.append(partial(timer.callback, event))

    def _hit(self, trigger: Trigger, event: Event) -> None:
        trigger.last = event
        if trigger.callback is None:
            return
        if trigger.number is None:
            trigger.callback(event)
        else:
            self._due.append(partial(trigger.callback, event))
