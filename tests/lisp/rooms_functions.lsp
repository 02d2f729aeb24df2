;;; The room functions at their edges: cancelled and unfinished drags, a room of one point, an
;;; inserted room without outline, indices past the end, rooms that overlap, selections by index,
;;; and wrong arguments. Exit 1 when a result is wrong.

(setq fn-failures 0)
(defun fn-check (name ok)
  (if (not ok) (progn (princ (strcat "\nFAIL " name)) (setq fn-failures (1+ fn-failures))))
  ok)
;; The message of the error that EXPR raises, or nil when it raises none.
(defun fn-error (expr / r)
  (setq r (vl-catch-all-apply 'eval (list expr)))
  (if (vl-catch-all-error-p r) (vl-catch-all-error-message r)))

;; The work folder ctest gives this run, its own for each checkout and back end; by hand, a
;; folder in /tmp.
(setq root (strcat (cond ((getenv "KV_SCENARIO_DIR")) ("/tmp/kv_lisp_roomfns")) "/"))
;; The project file is named after its folder.
(setq project (vl-filename-base (vl-string-right-trim "/" root)))
(foreach f (list "rooms.dwg" (strcat project "_kv_hvac.kv") (strcat project "_kv_hvac.kvlink")) (vl-file-delete (strcat root f)))
;; Saving the drawing first makes the project folder.
(kvhost-new)
(fn-check "save" (kvhost-save-as (strcat root "rooms.dwg")))
(kvhost-close (strcat root "rooms.dwg"))
(projectdb-createProject root)
(fn-check "open" (kvhost-open (strcat root "rooms.dwg")))

;; Enter at the first prompt, Esc at the label: nothing is made.
(kvhost-input "enter")
(fn-check "enter at once gives nil" (null (kv_hvac-room-draw 1 "NOARROW" 1.0 "A" nil)))
(kvhost-input "point 10,10" "point 50,10" "point 50,40" "enter" "esc")
(fn-check "esc at the label gives nil" (null (kv_hvac-room-draw 1 "NOARROW" 1.0 "A" nil)))
(fn-check "and leaves no room" (null (ssgetx-room)))

;; One point, then Enter twice: a room of one point whose leader ends on that point; the label
;; stays where the last sample left it.
(kvhost-input "point 10,10" "enter" "enter")
(setq one (kv_hvac-room-draw 2 "NOARROW" 1.0 "One" 30.0))
(fn-check "a room of one point" (equal (kv_hvac-room-getPoints one) '((10.0 10.0))))
(fn-check "its leader ends on it" (equal (cadr (kv_hvac-room-getLeaderPoints one)) '(10.0 10.0) 1e-9))
(fn-check "no area" (equal (kv_hvac-room-getArea one) 0.0 1e-9))
(fn-check "Enter leaves the label at the last point"
          (< (distance (car (kv_hvac-room-getLeaderPoints one)) '(10 10)) 1.0))

;; Insert without outline: an index, a label place, no points, no leader.
(setq a (kv_hvac-room-insert 3 "NOARROW" 1.0 "ignored" nil '(100 100)))
(fn-check "inserted" (= 3 (cdr (assoc 90 (entget a)))))
(fn-check "without outline" (null (kv_hvac-room-getPoints a)))
(fn-check "leader off: two nils" (equal (cdr (kv_hvac-room-getLeaderPoints a)) '(nil nil)))
(kv_hvac-room-setPoints a (list '(0 0) nil '(100 0) nil '(100 100) T '(0 100) nil))
(fn-check "outline set" (= 4 (length (kv_hvac-room-getPoints a))))
(fn-check "flag past the end: nil" (null (kv_hvac-room-setPointInfo a 4 T)))
(fn-check "flag in range: T" (kv_hvac-room-setPointInfo a 3 T))

;; Removing at the count removes the first point; a negative index nothing.
(kv_hvac-room-removePoint a 4)
(fn-check "first point gone" (equal (car (kv_hvac-room-getPoints a)) '(100.0 0.0)))
(kv_hvac-room-removePoint a -1)
(fn-check "negative removes nothing" (= 3 (length (kv_hvac-room-getPoints a))))

;; Two rooms over one point: the first in the drawing's order answers, a filter picks the other.
(setq b (kv_hvac-room-insert 4 "NOARROW" 1.0 "B" nil '(0 0)))
(kv_hvac-room-setPoints b (list '(-50 -50) nil '(60 -50) nil '(60 60) nil '(-50 60) nil))
(fn-check "first room in order" (= 3 (kv_hvac-room-find '(50 50))))
(fn-check "filter" (= 4 (kv_hvac-room-find '(50 50) 4)))
(kv_hvac-room-updateIndex b 40000)
(fn-check "a large index comes back as a real" (equal (kv_hvac-room-find '(-10 -10)) 40000.0))

;; Selections by index.
(fn-check "every room" (= 3 (length (ssgetx-room))))
(fn-check "one index" (equal (ssgetx-room 3) (list a)))
(fn-check "no such index" (null (ssgetx-room 17)))

;; Something other than a room is no error, except for the point edits.
(entmake '((0 . "LINE") (10 0 0) (11 1 1)))
(setq line (entlast))
(fn-check "not a room: nil" (null (kv_hvac-room-getPoints line)))
(fn-check "insertPoint on a line: bad data" (fn-error '(kv_hvac-room-insertPoint line 1 '(0 0))))
(fn-check "wrong argument: error" (fn-error '(kv_hvac-room-getArea "room")))
(fn-check "a flag as a list: error" (fn-error '(kv_hvac-room-setPoints a (list '(0 0) '(1)))))
(fn-check "leader off by location" (progn (kv_hvac-room-setLeaderLocation a nil)
                                          (null (cadr (kv_hvac-room-getLeaderPoints a)))))
(fn-check "attributes" (kv_hvac-room-updateAttributes a "NOARROW" 2.0 nil))


;; The command: picks, Enter, the label's place; the room takes the next index and its name.
(setq before (length (ssgetx-room)))
(kvhost-input "point 200,200" "point 260,200" "point 260,240" "enter" "point 210,230")
(c:kv-room)
(fn-check "KV-ROOM drew a room" (= (1+ before) (length (ssgetx-room))))
(setq made (car (ssgetx-room 40001)))
(fn-check "with the next index" made)
(fn-check "and its area" (equal (kv_hvac-room-getArea made) 1200.0 1e-9))
(fn-check "listed in the project" (equal (kvdb-query (projectdb-currentFile)
                                                     "SELECT sName FROM tblRoomL WHERE ixRoomL = 40001" "sName")
                                         '("Room 40001")))

(if (> fn-failures 0) (exit 1))
(princ "\nroom functions: all checks passed")
