;;; Load Detail through the module's row and the KV-LOADDETAIL command: wrong arguments, the two
;;; results, and a picked room whose stored loads open the report. Exit 1 when a result is wrong.

(setq ld-failures 0)
(defun ld-check (name ok)
  (if (not ok) (progn (princ (strcat "\nFAIL " name)) (setq ld-failures (1+ ld-failures))))
  ok)
(defun ld-error (expr / r)
  (setq r (vl-catch-all-apply 'eval (list expr)))
  (if (vl-catch-all-error-p r) (vl-catch-all-error-message r)))

(setq root "/tmp/kv_lisp_loaddetail/")
(foreach f (list "loads.dwg" "kv_lisp_loaddetail_kv_hvac.kv" "kv_lisp_loaddetail_kv_hvac.kvlink") (vl-file-delete (strcat root f)))
(kvhost-new)
(ld-check "save" (kvhost-save-as (strcat root "loads.dwg")))
(kvhost-close (strcat root "loads.dwg"))
(projectdb-createProject root)
(ld-check "open" (kvhost-open (strcat root "loads.dwg")))

;; Each argument of the wrong type fails before any dialog shows (the queue stays unread).
(kvhost-input "click #1006")
(ld-check "title not a string" (ld-error '(kv_hvac-loadDetail 1 -1)))
(ld-check "area not a number" (ld-error '(kv_hvac-loadDetail "R" -1 nil "NO" "big")))
(ld-check "too few" (ld-error '(kv_hvac-loadDetail "R" -1 nil "NO" 1.0 2.0 6 14 0 0 55 70 0 0 6)))
;; The queued click is still there: Calculate This Load answers 1, OK 0.
(ld-check "calculate gives 1" (= 1 (kv_hvac-loadDetail "R" -1 nil "NO" 1.0 2.0 6 14 0 0 55 70 0 0 6 14 nil nil)))
(kvhost-input "click #1")
(ld-check "ok gives 0" (= 0 (kv_hvac-loadDetail "R" -1 nil "NO" 1.0 2.0 6 14 0 0 55 70 0 0 6 14 nil nil)))

;; A room with two calculated hours: the command opens on the larger.
(kvhost-input "point 0,0" "point 40,0" "point 40,30" "point 0,30" "enter" "point 20,15")
(ld-check "room" (room-hvac-draw "Office"))
(setq file (projectdb-currentFile))
(kvdb-execute file "INSERT INTO tblLoadRoomCooling (ixRoomL, iMonth, iHour, dRoomTotal) VALUES (1, 6, 14, 9000)")
(kvdb-execute file "INSERT INTO tblLoadRoomCooling (ixRoomL, iMonth, iHour, dRoomTotal) VALUES (1, 7, 15, 12000)")
(ld-check "peak time" (equal (loads-hvac-peakTime 1) '(7 15)))
(ld-check "no peak for another room" (null (loads-hvac-peakTime 2)))
(kvhost-input "click #1006")
(ld-check "the room's report asks for a calculation" (= 1 (loads-hvac-showRoom 1)))
;; The command: a pick inside the room opens the report (OK), a pick outside says so; the queue
;; must be empty afterwards, or the dialog never read its click.
(kvhost-input "point 20,20" "click #1" "point 100,100")
(c:kv-loadDetail)
(c:kv-loadDetail)
(ld-check "every queued event was used" (= 0 (kvhost-input)))

(if (> ld-failures 0) (exit 1))
(princ "\nloads_detail: all checks passed")
