;;; The demo, part one: one designer's session on a small office of two floors, typed as commands
;;; with scripted picks and answers. The project is started in the drawing's folder, eight rooms
;;; are outlined and named, and the floor and zone trees sort them. demo-loads.lsp computes their
;;; loads next, and demo-ducts.lsp places diffusers, draws the ductwork and builds the model.

(defun demo-title (text) (princ (strcat "\n\n== " text " ==")))
(defun demo-line (label value)
  (princ (strcat "\n  " label ": " (if (eq (type value) 'STR) value (vl-prin1-to-string value)))))
(defun demo-pick (p) (strcat "point " (rtos (car p) 2 3) "," (rtos (cadr p) 2 3)))
;; What the designer types for one command: lines of the input queue, then the command.
(defun demo-type (lines fn)
  (apply 'kvhost-input lines)
  (apply fn nil))

(demo-title "Project")
;; The arrow at the tip of the room leaders: a drawing beside the plan that defines it.
(kvhost-new)
(foreach seg '(((0 0) (-1 0.25)) ((-1 0.25) (-1 -0.25)) ((-1 -0.25) (0 0)))
  (entmake (list '(0 . "LINE") (cons 10 (car seg)) (cons 11 (cadr seg)))))
(kvhost-save-as (strcat room-arrowBlock ".dwg"))
(kvhost-close (kvhost-current))
(kvhost-save)
(demo-type '("enter") c:kv-project)
(setvar "DIMSCALE" 96.0)

(demo-title "Rooms")
;; Plans in inches. Floor 1 at the origin: three rooms on the south wall, an open office behind.
;; Floor 2 drawn beside it, 800 to the east: two offices, a conference room and a break room.
(setq demo-rooms
  '(("101 Office" ((0 0) (180 0) (180 150) (0 150)) (20 60))
    ("102 Office" ((180 0) (360 0) (360 150) (180 150)) (200 60))
    ("103 Meeting" ((360 0) (600 0) (600 150) (360 150)) (380 60))
    ("104 Open office" ((0 150) (600 150) (600 420) (0 420)) (400 215))
    ("201 Office" ((800 0) (1000 0) (1000 180) (800 180)) (820 60))
    ("202 Office" ((1000 0) (1200 0) (1200 180) (1000 180)) (1020 60))
    ("203 Conference" ((800 180) (1100 180) (1100 420) (800 420)) (820 360))
    ("204 Break room" ((1100 180) (1400 180) (1400 420) (1100 420)) (1120 360))))
(demo-type (append (apply 'append
                          (mapcar '(lambda (r) (append (list (strcat "text " (car r)))
                                                       (mapcar 'demo-pick (cadr r)) '("enter")
                                                       (list (demo-pick (caddr r)))))
                                  demo-rooms))
                   '("esc"))
           c:kv-rooms)
;; The designer moves the break room's leader to its north wall.
(demo-type (list (demo-pick '(1250 300)) "text Leader" (demo-pick '(1250 420)) (demo-pick '(1180 380)) "enter")
           c:kv-roomEdit)

(demo-title "Floors and zones")
;; Floor tree: Edit Floors adds a floor and selects it, Edit Rooms files the rooms picked under
;; it, Rename names it; a picture of the dialog, then OK.
(defun demo-picks (rooms) (mapcar '(lambda (r) (demo-pick (caddr r))) rooms))
(setq floor1 (list (nth 0 demo-rooms) (nth 1 demo-rooms) (nth 2 demo-rooms) (nth 3 demo-rooms))
      floor2 (list (nth 4 demo-rooms) (nth 5 demo-rooms) (nth 6 demo-rooms) (nth 7 demo-rooms)))
(demo-type (append '("click #4" "click #5") (demo-picks floor1) '("enter" "click #10" "text Ground floor")
                   '("click #4" "click #5") (demo-picks floor2) '("enter" "click #10" "text Upper floor")
                   '("picture floor-tree.png" "click #1"))
           c:kv-floorTree)
;; Zone tree: the south rooms of both floors on one air handler, the rest on the other.
(setq south (list (nth 0 demo-rooms) (nth 1 demo-rooms) (nth 2 demo-rooms) (nth 4 demo-rooms) (nth 5 demo-rooms))
      north (list (nth 3 demo-rooms) (nth 6 demo-rooms) (nth 7 demo-rooms)))
(demo-type (append '("click #6" "click #7") (demo-picks south) '("enter" "click #10" "text South zone")
                   '("click #6" "click #7") (demo-picks north) '("enter" "click #10" "text North zone")
                   '("picture zone-tree.png" "click #1"))
           c:kv-zoneTree)
(demo-line "floors" (tree-hvac-get "floor"))
(demo-line "zones" (tree-hvac-get "zone"))
(kvhost-save)
(kvhost-plot "office-rooms.png" 1400)
(princ "\n")
