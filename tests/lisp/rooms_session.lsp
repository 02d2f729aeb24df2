;;; Rooms in the running host: six rooms drawn by picks, points inserted and removed, two rooms
;;; relabelled, a leader toggled and moved, the drawing saved and reopened, and every room found
;;; again with the area that the shoelace formula gives for its outline. Exit 1 when a result is
;;; wrong.

(setq room-failures 0)
(defun room-check (name ok)
  (if (not ok) (progn (princ (strcat "\nFAIL " name)) (setq room-failures (1+ room-failures))))
  ok)

;; Twice the signed area of a closed outline, by the shoelace formula; the size of the area.
(defun shoelace (pts / sum i a b)
  (setq sum 0.0 i 0)
  (while (< i (length pts))
    (setq a (nth i pts)
          b (nth (rem (1+ i) (length pts)) pts)
          sum (+ sum (- (* (car a) (cadr b)) (* (car b) (cadr a))))
          i (1+ i)))
  (abs (/ sum 2.0)))

(defun near (a b) (< (abs (- a b)) 1e-6))

;; The work folder ctest gives this run, its own for each checkout and back end; by hand, a
;; folder in /tmp.
(setq root (strcat (cond ((getenv "KV_SCENARIO_DIR")) ("/tmp/kv_lisp_rooms")) "/"))
;; The project file is named after its folder.
(setq project (vl-filename-base (vl-string-right-trim "/" root)))
(foreach f (list "plan.dwg" "ROOMARROW.dwg" "plan.png" (strcat project "_kv_hvac.kv") (strcat project "_kv_hvac.kvlink"))
  (vl-file-delete (strcat root f)))
;; The leaders' arrow: a unit triangle with its tip at the block's origin, pointing along +X.
(kvhost-new)
(foreach seg '(((0 0) (-1 0.25)) ((-1 0.25) (-1 -0.25)) ((-1 -0.25) (0 0)))
  (entmake (list '(0 . "LINE") (cons 10 (car seg)) (cons 11 (cadr seg)))))
(room-check "arrow block drawing" (kvhost-save-as (strcat root "ROOMARROW.dwg")))
(kvhost-close (strcat root "ROOMARROW.dwg"))
;; Saving the arrow made the project folder.
(projectdb-createProject root)

(room-check "open the plan" (kvhost-open (strcat root "plan.dwg")))
(setvar "DIMSCALE" 96.0)
(room-check "a new project has no rooms" (room-hvac-tableIsEmpty))

;; Six rooms, in picking order; the label goes at the last pick. A clockwise outline, a concave
;; one, one with a collinear point and one very thin.
(setq plan
  (list (list "101 Office" '((10 10) (190 10) (190 160) (10 160)) '(30 140))
        (list "102 Office" '((190 10) (370 10) (370 160) (190 160)) '(210 140))
        (list "103 Meeting" '((370 160) (600 160) (600 10) (370 10)) '(390 140))
        (list "104 Open office" '((10 160) (300 160) (300 300) (600 300) (600 430) (10 430)) '(40 410))
        (list "105 Corridor" '((600 10) (700 10) (800 10) (800 430) (600 430) (600 300)) '(620 410))
        (list "106 Shaft" '((820 10) (821 10) (821 430) (820 430)) '(830 300))))

(foreach room plan
  (apply 'kvhost-input
         (append (mapcar '(lambda (p) (strcat "point " (rtos (car p) 2 3) "," (rtos (cadr p) 2 3))) (cadr room))
                 (list "enter" (strcat "point " (rtos (car (caddr room)) 2 3) "," (rtos (cadr (caddr room)) 2 3)))))
  (room-check (strcat "draw " (car room)) (room-hvac-draw (car room))))
(room-check "six rooms" (= 6 (length (ssgetx-room))))
(room-check "the project lists them" (not (room-hvac-tableIsEmpty)))

;; Each room's area against the shoelace of its picks; the outline is stored in reverse.
(setq ix 1)
(foreach room plan
  (setq e (room-hvac-entity ix))
  (room-check (strcat "area of " (car room)) (near (kv_hvac-room-getArea e) (shoelace (cadr room))))
  (room-check (strcat "stored in reverse: " (car room))
              (equal (kv_hvac-room-getPoints e) (reverse (mapcar '(lambda (p) (mapcar 'float p)) (cadr room))) 1e-9))
  (setq ix (1+ ix)))

;; Point in room: inside, in the notch of the concave room, on the thin shaft.
(room-check "inside 101" (= 1 (kv_hvac-room-find '(100 80))))
(room-check "inside 103, drawn clockwise" (= 3 (kv_hvac-room-find '(500 80))))
(room-check "the notch belongs to 104's neighbours" (null (kv_hvac-room-find '(450 250))))
(room-check "inside 104" (= 4 (kv_hvac-room-find '(450 350))))
(room-check "inside the shaft" (= 6 (kv_hvac-room-find '(820.5 200))))
(room-check "outside every room" (null (kv_hvac-room-find '(900 900))))
(room-check "filter by index" (null (kv_hvac-room-find '(100 80) 2)))

;; Edits: a point into 101's first segment and out again; the collinear point of 105 removed.
(setq r1 (room-hvac-entity 1) before (kv_hvac-room-getArea r1))
(kv_hvac-room-insertPoint r1 1 '(100 160))
(room-check "five points" (= 5 (length (kv_hvac-room-getPoints r1))))
(room-check "a point on an edge keeps the area" (near before (kv_hvac-room-getArea r1)))
(kv_hvac-room-insertPoint r1 1 '(100 130))
(room-check "a notch takes area off" (< (kv_hvac-room-getArea r1) before))
(kv_hvac-room-removePoint r1 1)
(kv_hvac-room-removePoint r1 1)
(room-check "back to four" (= 4 (length (kv_hvac-room-getPoints r1))))
(room-check "and its area" (near before (kv_hvac-room-getArea r1)))
(setq r5 (room-hvac-entity 5) before5 (kv_hvac-room-getArea r5))
(kv_hvac-room-removePoint r5 4)
(room-check "collinear point gone, area kept" (and (= 5 (length (kv_hvac-room-getPoints r5)))
                                                   (near before5 (kv_hvac-room-getArea r5))))
(room-check "thick wall" (kv_hvac-room-setPointInfo r1 0 T))
(room-check "no point past the end" (null (kv_hvac-room-setPointInfo r1 4 T)))

;; Two rooms relabelled, one leader toggled off, another moved to a wall of its choosing.
(room-check "relabel 102" (= 2 (room-hvac-relabel '(300 80) "102 Manager")))
(room-check "relabel 106" (= 6 (room-hvac-relabel '(820.5 100) "106 Riser")))
(setq r3 (room-hvac-entity 3))
(room-check "leader of 103 off" (kv_hvac-room-toggleLeader r3))
(room-check "its leader points are gone" (equal (cdr (kv_hvac-room-getLeaderPoints r3)) '(nil nil)))
(setq r2 (room-hvac-entity 2))
(kv_hvac-room-setLeaderLocation r2 T '(370 80) '(330 130))
(setq lp (kv_hvac-room-getLeaderPoints r2))
(room-check "moved leader ends on the east wall" (equal (cadr lp) '(370.0 80.0) 1e-9))
(room-check "its elbow keeps the pick's X" (near (car (caddr lp)) 330.0))

(setq areas (mapcar '(lambda (ix) (kv_hvac-room-getArea (room-hvac-entity ix))) '(1 2 3 4 5 6)))
(room-check "save" (kvhost-save))
(room-check "close" (kvhost-close (strcat root "plan.dwg")))
(room-check "reopen" (kvhost-open (strcat root "plan.dwg")))
(room-check "six rooms again" (= 6 (length (ssgetx-room))))
(room-check "same areas" (equal areas (mapcar '(lambda (ix) (kv_hvac-room-getArea (room-hvac-entity ix))) '(1 2 3 4 5 6)) 1e-9))
(room-check "found again" (equal '(1 2 3 4 5 6)
                                 (mapcar 'kv_hvac-room-find '((100 80) (300 80) (500 80) (450 350) (700 200) (820.5 200)))))
(room-check "leader of 103 still off" (null (cadr (kv_hvac-room-getLeaderPoints (room-hvac-entity 3)))))
(room-check "moved leader kept" (equal (cadr (kv_hvac-room-getLeaderPoints (room-hvac-entity 2))) '(370.0 80.0) 1e-9))
(room-check "plot" (kvhost-plot (strcat root "plan.png") 1600))

(if (> room-failures 0) (exit 1))
(princ "\nrooms: all checks passed")
