"""Live reloading in Python: a service keeps the station settings in effect
while an operator edits a layer. The watch's iterator delivers each reload;
any thread reads ``watch.current`` whenever it needs the settings.

    PFPATH=examples:examples/site-override python3 watch_reload.py [SECONDS]

Prints "watching ..." once the watch is set, then one block of lines per
reload; ends after the first accepted change, or after SECONDS (default:
never) when none comes.
"""

import sys
import threading

import teskpf


def main() -> int:
    seconds = float(sys.argv[1]) if len(sys.argv) > 1 else 0
    with teskpf.watch("station", settle=0.1) as watch:
        settings = watch.current
        if settings is None:
            print(f"station: {watch.initial.error}", file=sys.stderr)
            return 1
        print(f"watching {len(settings.files)} files; telemetry port {settings['telemetry']['port']}", flush=True)
        if seconds > 0:
            limit = threading.Timer(seconds, watch.stop)
            limit.daemon = True
            limit.start()
        for event in watch:
            if not event.accepted:
                print("rejected, keeping the previous settings:")
                for d in event.diagnostics:
                    print(f"  {d.file}:{d.line}: {d.message}")
                if event.error:
                    print(f"  {event.error}")
                continue
            for change in event.changes:
                print(f"{change.change} {change.key}: '{change.old}' -> '{change.new}' ({change.file}:{change.line})")
            current = watch.current
            assert current is not None
            print(f"telemetry port now {current['telemetry']['port']}", flush=True)
            return 0
    return 1  # stopped by the time limit


if __name__ == "__main__":
    sys.exit(main())
